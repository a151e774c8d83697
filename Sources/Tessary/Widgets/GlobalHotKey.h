#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QString>

#include <cstdint>

namespace tessary {

// Ctrl+Alt+Super+E for the whole desktop: grabbed on the X11 root window, so it reaches us
// whichever application has the focus. Caps Lock and Num Lock change the modifier state the
// server matches exactly, so the key is grabbed once per combination of them. Elsewhere
// (Wayland, offscreen) there is no such service and `notice()` says so.
class GlobalHotKey : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT

public:
    static constexpr QStringView shortcutText = u"Ctrl+Alt+Super+E";
    static constexpr QStringView unavailableText
        = u"The shortcut Ctrl+Alt+Super+E is not available here: use Window ▸ Show Widgets from Any App, "
          u"or bind `tessary --show-widgets` to a shortcut in your desktop's keyboard settings.";
    static constexpr QStringView takenText
        = u"Another program holds Ctrl+Alt+Super+E: use Window ▸ Show Widgets from Any App, or bind "
          u"`tessary --show-widgets` to a shortcut in your desktop's keyboard settings.";

    explicit GlobalHotKey(QObject* parent = nullptr);
    ~GlobalHotKey() override;

    // Grabs the key; false when it could not, with `notice()` saying why. Safe to call again.
    bool grab();
    void ungrab();
    bool isGrabbed() const { return m_grabbed; }
    // Why the shortcut does not work, once it has been tried; empty while it does.
    const QString& notice() const { return m_notice; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

Q_SIGNALS:
    void activated();

private:
    bool m_grabbed = false;
    bool m_filterInstalled = false;
    std::uint8_t m_keycode = 0;
    std::uint32_t m_root = 0;
    QString m_notice;
};

} // namespace tessary
