#include "GlobalHotKey.h"

#include <QGuiApplication>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <array>
#include <cstdlib>

namespace tessary {

namespace {

constexpr xcb_keysym_t keysymE = 0x0065; // XK_e
constexpr std::uint16_t modifiers = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4; // Ctrl, Alt, Super
// Caps Lock and Num Lock (Mod2 on every common keymap) in every combination.
constexpr std::array<std::uint16_t, 4> lockCombinations { 0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
    XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2 };

xcb_connection_t* x11Connection()
{
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

} // namespace

GlobalHotKey::GlobalHotKey(QObject* parent)
    : QObject(parent)
{
}

GlobalHotKey::~GlobalHotKey()
{
    ungrab();
    if (m_filterInstalled && qGuiApp)
        qGuiApp->removeNativeEventFilter(this);
}

bool GlobalHotKey::grab()
{
    if (m_grabbed)
        return true;
    xcb_connection_t* connection = x11Connection();
    if (!connection) {
        m_notice = unavailableText.toString();
        return false;
    }
    xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(connection);
    xcb_keycode_t* codes = symbols ? xcb_key_symbols_get_keycode(symbols, keysymE) : nullptr;
    m_keycode = codes ? codes[0] : 0;
    std::free(codes);
    if (symbols)
        xcb_key_symbols_free(symbols);
    if (m_keycode == 0) {
        m_notice = unavailableText.toString();
        return false;
    }
    m_root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;

    bool taken = false;
    for (const std::uint16_t locks : lockCombinations) {
        const auto cookie = xcb_grab_key_checked(
            connection, 1, m_root, modifiers | locks, m_keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        if (xcb_generic_error_t* error = xcb_request_check(connection, cookie)) {
            taken = true; // BadAccess: another client grabbed this combination first
            std::free(error);
        }
    }
    if (taken) {
        // Half a grab would work with Caps Lock but not without it: all or nothing.
        m_grabbed = true;
        ungrab();
        m_notice = takenText.toString();
        return false;
    }
    if (!m_filterInstalled) {
        qGuiApp->installNativeEventFilter(this);
        m_filterInstalled = true;
    }
    m_grabbed = true;
    m_notice.clear();
    return true;
}

void GlobalHotKey::ungrab()
{
    if (!m_grabbed)
        return;
    m_grabbed = false;
    if (xcb_connection_t* connection = x11Connection()) {
        for (const std::uint16_t locks : lockCombinations)
            xcb_ungrab_key(connection, m_keycode, m_root, modifiers | locks);
        xcb_flush(connection);
    }
}

bool GlobalHotKey::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (!m_grabbed || eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_KEY_PRESS)
        return false;
    const auto* press = static_cast<const xcb_key_press_event_t*>(message);
    const std::uint16_t held = press->state & ~(XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2);
    if (press->detail != m_keycode || held != modifiers || press->event != m_root)
        return false;
    Q_EMIT activated();
    return true;
}

} // namespace tessary
