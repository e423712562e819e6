#include "desktop/qt_thread_waits.h"

#include "desktop/qt_toolkit.h"
#include "platform/posix_events.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <array>
#include <climits>
#include <memory>
#include <optional>
#include <vector>

namespace cw {
namespace {

// What comes about without anybody: timers, what they draw, the objects that they make and give up, and
// descriptors that can be read.
constexpr std::array by_itself{QEvent::Timer,      QEvent::UpdateRequest, QEvent::UpdateLater,    QEvent::Paint,
                               QEvent::ChildAdded, QEvent::ChildRemoved,  QEvent::DeferredDelete, QEvent::SockAct};

bool is_window_thread()
{
    const QCoreApplication* application = QCoreApplication::instance();
    return application && application->thread() == QThread::currentThread();
}

/// Notes whether anything happened that counts.
class message_watch final : public QObject {
public:
    message_watch() { QCoreApplication::instance()->installEventFilter(this); }

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (!m_seen && std::ranges::find(by_itself, event->type()) == by_itself.end()) {
            m_seen = true;
            // What other threads post comes at any time, also after the round that does not sleep.
            QAbstractEventDispatcher::instance()->wakeUp();
        }
        return false;
    }

    [[nodiscard]] bool seen() const noexcept { return m_seen; }

private:
    bool m_seen = false;
};

/// Makes Qt's waits end when an event is signalled.
class event_watch {
public:
    event_watch(std::uint32_t count, const platform::event_handle* events)
    {
        for (std::uint32_t i = 0; i < count; ++i) {
            auto& notifier = m_notifiers.emplace_back(std::make_unique<QSocketNotifier>(
                qintptr{platform::descriptor_of_event(events[i])}, QSocketNotifier::Read));
            // A dialog that is opened during the wait has a loop of its own, which does not take the event and
            // would be told of it without a pause.
            QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                             [watched = notifier.get()] { watched->setEnabled(false); });
        }
    }

    /// Another thread may have taken what a notifier was switched off for.
    void switch_on()
    {
        for (const auto& notifier : m_notifiers)
            notifier->setEnabled(true);
    }

private:
    std::vector<std::unique_ptr<QSocketNotifier>> m_notifiers;
};

/// Lets Qt's events happen until an event is signalled, the time is over, or something happened that counts.
std::uint32_t wait_in_window(platform::thread_waits& other, std::uint32_t count, const platform::event_handle* events,
                             bool wait_all, std::uint32_t timeout_ms, std::uint32_t wake_mask)
{
    QDeadlineTimer deadline(QDeadlineTimer::Forever);
    if (timeout_ms != platform::wait_for_ever)
        deadline.setRemainingTime(qint64{timeout_ms}, Qt::PreciseTimer);
    const auto now = [&] { return other.wait(count, events, wait_all, 0, wake_mask); };

    std::uint32_t answer = now();
    if (answer != platform::wait_timeout)
        return answer;
    const message_watch messages;
    event_watch watched(count, events);
    QTimer alarm;
    alarm.setSingleShot(true);
    alarm.setTimerType(Qt::PreciseTimer);
    // Some of Qt's dispatchers empty the queue and then sleep in the same round, whatever was in it.
    for (bool sleeps = false;; sleeps = !sleeps) {
        watched.switch_on();
        if (!deadline.isForever())
            alarm.start(static_cast<int>(std::min<qint64>(deadline.remainingTime(), INT_MAX)));
        QCoreApplication::processEvents(sleeps ? QEventLoop::WaitForMoreEvents : QEventLoop::AllEvents);
        answer = now();
        if (answer != platform::wait_timeout)
            return answer;
        if (messages.seen())
            return count;
        if (deadline.hasExpired())
            return platform::wait_timeout;
    }
}

} // namespace

platform::event_handle qt_thread_waits::create_event(bool manual_reset, bool signalled) noexcept
{
    return m_other.create_event(manual_reset, signalled);
}

bool qt_thread_waits::set_event(platform::event_handle event) noexcept
{
    return m_other.set_event(event);
}

bool qt_thread_waits::reset_event(platform::event_handle event) noexcept
{
    return m_other.reset_event(event);
}

bool qt_thread_waits::close_event(platform::event_handle event) noexcept
{
    return m_other.close_event(event);
}

std::uint32_t qt_thread_waits::wait(std::uint32_t count, const platform::event_handle* events, bool wait_all,
                                    std::uint32_t timeout_ms, std::uint32_t wake_mask) noexcept
{
    if (wake_mask == 0 || !is_window_thread())
        return m_other.wait(count, events, wait_all, timeout_ms, wake_mask);
    std::optional<CXTPFrameWnd::NestedLoop> own_entries;
    if (m_toolkit.frame())
        own_entries.emplace(*m_toolkit.frame());
    const std::uint32_t answer = wait_in_window(m_other, count, events, wait_all, timeout_ms, wake_mask);
    // A loop around this wait that was told to end meanwhile has to see that before it sleeps: what would have
    // kept it awake is lost with the rounds in here.
    QAbstractEventDispatcher::instance()->wakeUp();
    return answer;
}

bool qt_thread_waits::peek_message(platform::thread_message* message, std::uintptr_t window, std::uint32_t first_number,
                                   std::uint32_t last_number, std::uint32_t flags) noexcept
{
    return m_other.peek_message(message, window, first_number, last_number, flags);
}

bool qt_thread_waits::translate_message(const platform::thread_message* message) noexcept
{
    return m_other.translate_message(message);
}

std::intptr_t qt_thread_waits::dispatch_message(const platform::thread_message* message) noexcept
{
    return m_other.dispatch_message(message);
}

} // namespace cw
