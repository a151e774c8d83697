#include "FeaturedCatalog.h"
