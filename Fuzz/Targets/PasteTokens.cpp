// Text typed or pasted into the ticker field: the tokens, and the last one the suggestions
// follow while typing.

#include "Fuzz/FuzzTarget.h"

#include "Tessary/Views/Input/TickerEntry.h"

using namespace tessary;

TESSARY_FUZZ_TARGET(paste_tokens)
{
    const QString text = QString::fromUtf8(input);
    const QStringList tokens = tickerTokens(text);
    const QStringView last = lastTickerToken(text);
    if (tokens.isEmpty() ? !last.isEmpty() : last != tokens.last())
        fuzz::fail("the last token is not the last of the tokens", input);
}
