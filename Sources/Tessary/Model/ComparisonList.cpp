#include "ComparisonList.h"
