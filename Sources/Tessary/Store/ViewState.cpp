#include "ViewState.h"

namespace tessary {

ViewState::ViewState(std::shared_ptr<Preferences> preferences, const QStringList& justAdded, QObject* parent)
    : QObject(parent)
    , m_preferences(std::move(preferences))
    , m_highlights(m_preferences->highlights())
    , m_logScale(m_preferences->logScale())
{
    for (const QString& symbol : justAdded) {
        if (const QString trimmed = symbol.trimmed().toUpper(); !trimmed.isEmpty())
            m_justAdded.insert(trimmed);
    }
}

bool ViewState::setHighlights(const QString& listKey, const QStringList& tickers)
{
    if (m_highlights.value(listKey) == tickers)
        return false;
    if (tickers.isEmpty())
        m_highlights.remove(listKey);
    else
        m_highlights.insert(listKey, tickers);
    m_preferences->setHighlights(m_highlights);
    Q_EMIT highlightsChanged();
    return true;
}

void ViewState::setLogScale(bool on)
{
    if (on == m_logScale)
        return;
    m_logScale = on;
    m_preferences->setLogScale(on);
    Q_EMIT logScaleChanged(on);
}

std::optional<ListPeriod> ViewState::viewPeriod(const QString& listKey) const
{
    const auto it = m_viewPeriods.constFind(listKey);
    return it == m_viewPeriods.constEnd() ? std::nullopt : std::optional(*it);
}

void ViewState::setViewPeriod(const QString& listKey, const ListPeriod& period)
{
    m_viewPeriods.insert(listKey, period);
}

void ViewState::setJustAdded(const QStringList& tickers)
{
    m_justAdded = QSet<QString>(tickers.begin(), tickers.end());
    Q_EMIT justAddedChanged();
}

void ViewState::clearJustAdded()
{
    if (m_justAdded.isEmpty())
        return;
    m_justAdded.clear();
    Q_EMIT justAddedChanged();
}

} // namespace tessary
