#include "Palette.h"
