// Whatever a local process sends the sign-in listener gets a whole HTTP reply.

#include "Fuzz/FuzzTarget.h"

#include "Tessary/Account/LoopbackServer.h"

using namespace tessary;

TESSARY_FUZZ_TARGET(loopback_request)
{
    std::optional<CallbackItems> callback;
    const QByteArray reply = LoopbackServer::replyToRequest(input, &callback);
    const bool found = reply.startsWith("HTTP/1.1 200 ");
    if (!found && !reply.startsWith("HTTP/1.1 404 "))
        fuzz::fail("the listener answered neither a page nor 404", reply.left(80));
    if (found != callback.has_value())
        fuzz::fail("a page was answered without a callback, or the other way round", reply.left(80));
}
