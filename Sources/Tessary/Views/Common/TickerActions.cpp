#include "TickerActions.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>

namespace tessary {

void TickerActions::addTo(QMenu& menu, const QString& ticker) const
{
    if (remove)
        menu.addAction(removeText.toString(), &menu, [remove = remove, ticker] { remove(ticker); });
    if (makeBenchmark)
        menu.addAction(makeBenchmarkText.toString(), &menu, [make = makeBenchmark, ticker] { make(ticker); });
    menu.addAction(copySymbolText.toString(), &menu, [ticker] { QGuiApplication::clipboard()->setText(ticker); });
}

} // namespace tessary
