#include "ProgramHelp.h"

namespace tessary {

QString programUsage()
{
    return QStringLiteral(
        "Usage: tessary\n"
        "       tessary --show-widgets\n"
        "       tessary compare SYMBOL... [--benchmark SYM] [--period PERIOD] [--json] [--png FILE] ...\n"
        "       tessary list [--json] | show | create | add | remove | rename | delete ...\n"
        "       tessary account status | sign-in | sign-out\n"
        "       tessary --help\n"
        "\n"
        "Without a command, opens the window: lists of tickers compared over a period on a chart, a\n"
        "rankings table and a grid of returns. --show-widgets brings the running app's floating\n"
        "widgets forward. compare prints the rankings of tickers over a period, and can write the\n"
        "chart as an image; list reads and edits the lists; account signs this computer in and out.\n"
        "Each command describes its options with --help, as in tessary compare --help.\n"
        "\n"
        "Environment:\n"
        "  TESSARY_API          market-data service (default: the built-in service with a demo market)\n"
        "  TESSARY_SESSION_API  account service (default: the built-in service)\n"
        "  TESSARY_WEB          web pages: sign-in and the curated lists\n"
        "  TESSARY_DATA_DIR     folder of the lists and the built-in service's database\n"
        "                       (default ~/.local/share/Tessary)\n"
        "  TESSARY_UPDATE_FEED  release feed Check for Updates reads (default: TESSARY_WEB's\n"
        "                       updates/linux.json)\n"
        "  TESSARY_SUPPORT_EMAIL  address Contact Support writes to");
}

} // namespace tessary
