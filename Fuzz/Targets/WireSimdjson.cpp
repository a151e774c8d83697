// The big bodies through the simdjson path.

#include "Fuzz/FuzzTarget.h"

#include "Tessary/MarketData/FastWireDecoding.h"

using namespace tessary;

TESSARY_FUZZ_TARGET(wire_simdjson)
{
    if (FastWireDecoding::checkSyntax(input))
        return;
    if (const auto prices = FastWireDecoding::decodePricesResponse(input); !prices)
        (void)prices.error().description();
    (void)FastWireDecoding::decodeTickersResponse(input);
}
