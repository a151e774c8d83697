#pragma once

// The application shell: shared JSON reading and writing, configuration.
#include "Json.h"
