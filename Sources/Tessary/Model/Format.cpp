#include "Format.h"
