#pragma once

#include "Tessary/Shell/Environment.h"

class QAction;
class QKeyEvent;
class QWidget;

namespace tessary {

class QuickJump;
class TickerInput;

struct InputCommands {
    QAction* focusTickerField = nullptr; // Ctrl+K
    QAction* jumpToList = nullptr; // "/"
};

// Adds the two keyboard commands of the input panels to `window` (window-wide shortcuts) and
// hands them the environment's start-up switches. The actions are returned so that a menu
// can list them too. A "/" typed into any text field stays text: line edits claim printable
// keys before window shortcuts see them.
// Control, Alt or Meta held: the key is meant as a command, so the panels' own key handling
// (arrows, Escape) leaves it alone. Shift is not a command.
bool holdsCommandModifier(const QKeyEvent& event);

InputCommands installInputCommands(
    QWidget& window, TickerInput& input, QuickJump& jump, const Environment& environment);

} // namespace tessary
