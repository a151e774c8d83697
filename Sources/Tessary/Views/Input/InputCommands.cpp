#include "InputCommands.h"

#include "QuickJump.h"
#include "TickerInput.h"

#include <QAction>
#include <QKeyEvent>
#include <QWidget>

#include "Tessary/Shell/Environment.h"

namespace tessary {

namespace {

const QString focusTickerFieldText = QStringLiteral("Add Tickers…");
const QString jumpToListText = QStringLiteral("Jump to a list…");

} // namespace

bool holdsCommandModifier(const QKeyEvent& event)
{
    return (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0;
}

InputCommands installInputCommands(QWidget& window, TickerInput& input, QuickJump& jump, const Environment& environment)
{
    InputCommands commands;
    commands.focusTickerField = new QAction(focusTickerFieldText, &window);
    commands.focusTickerField->setObjectName(QStringLiteral("focusTickerField"));
    commands.focusTickerField->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_K));
    commands.focusTickerField->setShortcutContext(Qt::WindowShortcut);
    QObject::connect(commands.focusTickerField, &QAction::triggered, &input, &TickerInput::focusField);
    window.addAction(commands.focusTickerField);

    commands.jumpToList = new QAction(jumpToListText, &window);
    commands.jumpToList->setObjectName(QStringLiteral("jumpToList"));
    commands.jumpToList->setShortcut(QKeySequence(Qt::Key_Slash));
    commands.jumpToList->setShortcutContext(Qt::WindowShortcut);
    QObject::connect(commands.jumpToList, &QAction::triggered, &jump, &QuickJump::open);
    window.addAction(commands.jumpToList);

    input.useEnvironment(environment);
    jump.useEnvironment(environment);
    return commands;
}

} // namespace tessary
