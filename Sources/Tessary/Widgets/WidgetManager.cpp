#include "WidgetManager.h"

#include "GlobalHotKey.h"
#include "WidgetModel.h"
#include "WidgetPanel.h"

#include "Tessary/Shell/FeatureFlags.h"
#include "Tessary/Store/Store.h"

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScreen>

#include <cstdio>

namespace tessary {

namespace {

const QString itemKey = QStringLiteral("item");
const QString timeframeKey = QStringLiteral("timeframe");
const QString topNKey = QStringLiteral("topN");
const QString pinnedKey = QStringLiteral("pinned");
const QString frameKey = QStringLiteral("frame");
constexpr QSize newPanelSize { 380, 260 };
constexpr int cascade = 28;
// A drag or a resize moves the frame many times a second; one write once it rests.
constexpr int frameSaveMilliseconds = 400;

} // namespace

QByteArray WidgetManager::encode(const std::vector<Config>& configs)
{
    QJsonArray array;
    for (const Config& config : configs) {
        array.append(QJsonObject {
            { itemKey, config.item.key() },
            { timeframeKey, Timeframes::rawValue(config.timeframe) },
            { topNKey, config.topN },
            { pinnedKey, config.pinned },
            { frameKey,
                QJsonArray { config.frame.x(), config.frame.y(), config.frame.width(), config.frame.height() } },
        });
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

std::vector<WidgetManager::Config> WidgetManager::decode(const QByteArray& json)
{
    std::vector<Config> configs;
    const QJsonDocument document = QJsonDocument::fromJson(json);
    for (const QJsonValue& value : document.array()) {
        const QJsonObject object = value.toObject();
        const auto item = SidebarItem::fromKey(object.value(itemKey).toString());
        const auto timeframe = Timeframes::fromRawValue(object.value(timeframeKey).toString());
        const QJsonArray frame = object.value(frameKey).toArray();
        if (!item || !timeframe)
            continue;
        QRect rect;
        if (frame.size() == 4)
            rect = QRect(frame[0].toInt(), frame[1].toInt(), frame[2].toInt(), frame[3].toInt());
        configs.push_back(Config {
            *item, *timeframe, validTopN(object.value(topNKey).toInt()), object.value(pinnedKey).toBool(true), rect });
    }
    return configs;
}

WidgetManager::WidgetManager(Store& store, FeatureFlags& flags, Options options, QObject* parent)
    : QObject(parent)
    , m_store(store)
    , m_flags(flags)
    , m_options(options)
{
    m_frameSave.setSingleShot(true);
    m_frameSave.setInterval(frameSaveMilliseconds);
    connect(&m_frameSave, &QTimer::timeout, this, &WidgetManager::save);
    connect(&m_flags, &FeatureFlags::changed, this, &WidgetManager::followFeatureFlag);
}

WidgetManager::~WidgetManager()
{
    // The panels are windows of their own, not children: they go with their manager.
    qDeleteAll(m_panels);
}

WidgetPanel* WidgetManager::show(const Config& config)
{
    if (!m_enabled)
        return nullptr;
    auto* model = new WidgetModel(
        m_store, config.item, config.timeframe, config.topN, config.pinned, m_options.refreshInterval);
    auto* panel = new WidgetPanel(model, m_store, *this);
    QRect frame = config.frame;
    if (!frame.isValid()) {
        const QRect screen = QGuiApplication::primaryScreen() ? QGuiApplication::primaryScreen()->availableGeometry()
                                                              : QRect(0, 0, 1280, 800);
        const int step = cascade * static_cast<int>(m_panels.size());
        frame = QRect(screen.right() - newPanelSize.width() - 40 - step, screen.top() + 40 + step, newPanelSize.width(),
            newPanelSize.height());
    }
    panel->setGeometry(frame.x(), frame.y(), std::max(frame.width(), WidgetPanel::minimumPanelSize.width()),
        std::max(frame.height(), WidgetPanel::minimumPanelSize.height()));
    const QUuid id = QUuid::createUuid();
    adopt(id, panel);
    model->load();
    panel->bringToFront();
    save();
    return panel;
}

void WidgetManager::adopt(const QUuid& id, WidgetPanel* panel)
{
    m_panels.insert(id, panel);
    m_order.push_back(id);
    connect(&panel->model(), &WidgetModel::configChanged, this, &WidgetManager::save);
    connect(panel, &WidgetPanel::frameChanged, &m_frameSave, qOverload<>(&QTimer::start));
    connect(panel, &WidgetPanel::tipDismissed, this, &WidgetManager::dismissShortcutTip);
    refreshTips();
    Q_EMIT panelsChanged();
}

WidgetPanel* WidgetManager::newWidget()
{
    const auto selection = m_store.selection();
    if (!selection)
        return nullptr;
    return newWidget(*selection, m_store.selectedPeriod().preset);
}

WidgetPanel* WidgetManager::newWidget(const SidebarItem& item, Timeframe timeframe)
{
    return show(Config { item, timeframe, WidgetModel::defaultTopN, true, {} });
}

void WidgetManager::bringToFront()
{
    for (const QUuid& id : m_order)
        m_panels.value(id)->bringToFront();
}

void WidgetManager::save()
{
    if (!m_options.saves || !m_enabled)
        return;
    std::vector<Config> configs;
    for (const QUuid& id : m_order) {
        const WidgetPanel* panel = m_panels.value(id);
        const WidgetModel& model = panel->model();
        configs.push_back(Config { model.item(), model.timeframe(), model.topN(), model.pinned(), panel->geometry() });
    }
    m_store.preferences().setFloatingWidgets(encode(configs));
}

void WidgetManager::restore()
{
    const QByteArray stored = m_store.preferences().floatingWidgets();
    if (!stored.isEmpty() && !QJsonDocument::fromJson(stored).isArray())
        std::fprintf(stderr, "tessary: the saved floating widgets could not be read; starting without them\n");
    const bool saves = m_options.saves;
    // Showing each one would save a partial list in between; the whole list is already stored.
    m_options.saves = false;
    for (const Config& config : decode(stored))
        show(config);
    m_options.saves = saves;
}

void WidgetManager::openInApp(const SidebarItem& item)
{
    m_store.select(item);
    Q_EMIT openInAppRequested();
}

void WidgetManager::followFeatureFlag()
{
    const bool on = m_flags.isEnabled(m_options.feature);
    if (on == m_enabled)
        return;
    m_enabled = on;
    if (!on) {
        for (WidgetPanel* panel : std::as_const(m_panels)) {
            panel->hide();
            panel->setParent(nullptr);
        }
        if (m_hotKey)
            m_hotKey->ungrab();
        return;
    }
    if (m_options.grabHotKey) {
        if (!m_hotKey) {
            m_hotKey = new GlobalHotKey(this);
            connect(m_hotKey, &GlobalHotKey::activated, this, &WidgetManager::bringToFront);
        }
        m_hotKey->grab();
        Q_EMIT hotKeyNoticeChanged(m_hotKey->notice());
        refreshTips();
    }
    // The first time the saved widgets come back; after a switch off and on, the same panels.
    if (!m_restored) {
        m_restored = true;
        restore();
    } else {
        bringToFront();
    }
}

void WidgetManager::close(WidgetPanel* panel)
{
    const QUuid id = m_panels.key(panel);
    if (id.isNull())
        return;
    m_panels.remove(id);
    std::erase(m_order, id);
    panel->hide();
    panel->deleteLater();
    save();
    Q_EMIT panelsChanged();
}

std::vector<WidgetPanel*> WidgetManager::panels() const
{
    std::vector<WidgetPanel*> result;
    for (const QUuid& id : m_order)
        result.push_back(m_panels.value(id));
    return result;
}

QString WidgetManager::hotKeyNotice() const
{
    return m_hotKey ? m_hotKey->notice() : QString();
}

void WidgetManager::dismissShortcutTip()
{
    m_tipDismissed = true;
    if (m_options.saves)
        m_store.preferences().setWidgetShortcutTipSeen();
    for (WidgetPanel* panel : std::as_const(m_panels))
        panel->setShortcutTip(false, {});
}

void WidgetManager::refreshTips()
{
    // A missing shortcut is said once, in the tip, whether or not the tip was seen before.
    const QString notice = hotKeyNotice();
    const bool show = !m_tipDismissed && (!notice.isEmpty() || !m_store.preferences().widgetShortcutTipSeen());
    for (WidgetPanel* panel : std::as_const(m_panels))
        panel->setShortcutTip(show, notice);
}

} // namespace tessary
