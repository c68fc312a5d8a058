// FrontProgram: whose window has the user's attention, as the window manager tells it to the X
// server (Extended Window Manager Hints, _NET_ACTIVE_WINDOW).
//
// Threads: main.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <cstdint>

struct xcb_connection_t;

namespace siftwell {

class FrontProgram : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    enum class Kind { Nobody, Self, Browser, Other };

    // Whether the program runs on an X server.
    static bool isPossible();

    // Only where it is possible.
    explicit FrontProgram(QObject* parent = nullptr);
    ~FrontProgram() override;

    // Nobody also while the window manager does not say.
    Kind kind() const;

Q_SIGNALS:
    void changed();

private:
    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;
    void watchRoot();
    std::uint32_t frontWindow() const;
    QByteArray classOf(std::uint32_t window) const;

    xcb_connection_t& m_server;
    const std::uint32_t m_root;
    const std::uint32_t m_activeWindowAtom;
};

}  // namespace siftwell
