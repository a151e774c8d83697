// The Qt and the simdjson paths must read every body alike: the same syntax accepted, the
// same records, the same first error at the same key path.

#include "Fuzz/FuzzTarget.h"

#include "Tessary/MarketData/FastWireDecoding.h"
#include "Tessary/MarketData/WireDecoding.h"
#include "TessaryWire/JsonSyntax.h"

using namespace tessary;

namespace {

template <class T> void compare(const Decoded<T>& qt, const Decoded<T>& fast, const char* what)
{
    if (qt.has_value() != fast.has_value())
        fuzz::fail(what, qt ? fast.error().description().toUtf8() : qt.error().description().toUtf8());
    if (qt ? *qt != *fast : qt.error() != fast.error())
        fuzz::fail(what, qt ? QByteArray("different records") : qt.error().description().toUtf8());
}

} // namespace

TESSARY_FUZZ_TARGET(wire_differential)
{
    const auto object = parseJsonObject(input);
    const bool qtAccepts = object || parseJsonArray(input);
    const auto fastSyntax = FastWireDecoding::checkSyntax(input);
    // Qt's tree refuses some valid documents simdjson reads (a bare value at the top level,
    // a number too small for a double): a clear error either way, never a different record.
    const bool qtLimit = !qtAccepts && !fastSyntax && !jsonSyntaxError(input);
    if (qtAccepts == fastSyntax.has_value() && !qtLimit)
        fuzz::fail("the parsers disagree on the syntax",
            (fastSyntax ? fastSyntax->reason : object.error().reason).toUtf8() + '\n' + input.left(200));
    if (!object)
        return; // both report a parse or top-level error, each in its own words
    compare(decodePricesResponse(*object), FastWireDecoding::decodePricesResponse(input), "prices bodies differ");
    compare(decodeTickersResponse(*object), FastWireDecoding::decodeTickersResponse(input), "tickers bodies differ");
}
