// collections.json as the app reads it from the service or its cache.

#include "Fuzz/FuzzTarget.h"

#include "Tessary/Model/FeaturedCatalog.h"

using namespace tessary;

TESSARY_FUZZ_TARGET(collections_file)
{
    if (const auto catalog = FeaturedCatalog::fromJson(input); !catalog)
        (void)catalog.error().description();
}
