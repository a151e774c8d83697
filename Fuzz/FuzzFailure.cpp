#include "FuzzTarget.h"

#include <cstdio>
#include <cstdlib>

namespace tessary::fuzz {

void fail(const char* what, const QByteArray& detail)
{
    std::fprintf(stderr, "fuzz check failed: %s\n%s\n", what, detail.constData());
    std::abort();
}

} // namespace tessary::fuzz
