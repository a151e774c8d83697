#pragma once

#include <QStringView>

#include <span>

namespace tessary {

// One help topic: a metric explained where it is shown, by the "?" on its heading. Each says
// how the number is computed, from which prices, and what NA there means.
struct HelpTopic {
    QStringView id; // the metric's name, as the columns know it: "netReturn", "sharpe", …
    QStringView title;
    QStringView body;
};

std::span<const HelpTopic> helpTopics();
// None for an id without a topic.
const HelpTopic* findHelpTopic(QStringView id);

} // namespace tessary
