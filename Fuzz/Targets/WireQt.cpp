// The service's bodies through the Qt JSON path.

#include "Fuzz/FuzzTarget.h"

#include "Tessary/MarketData/WireDecoding.h"

using namespace tessary;

TESSARY_FUZZ_TARGET(wire_qt)
{
    if (const auto object = parseJsonObject(input)) {
        (void)decodePricesResponse(*object);
        (void)decodeTickersResponse(*object);
    }
    if (const auto related = decodeRelatedResponse(input); !related)
        (void)related.error().description();
    (void)errorMessage(input);
}
