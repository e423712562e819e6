#include "desktop/qt_thread_waits.h"

#include "desktop/main_window_host.h"
#include "platform/last_error.h"
#include "platform/posix_events.h"
#include "platform/posix_services.h"
#include "tests/desktop/desktop_support.h"

#include <QAbstractEventDispatcher>
#include <QAction>
#include <QApplication>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>
#include <QWidget>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace cw {
namespace {

using namespace test_support;
using namespace platform;
using namespace std::chrono_literals;
using steady = std::chrono::steady_clock;

/// As the messages of a wait are looked after by its callers: all of them, and then the whole time anew.
std::uint32_t wait_as_callers_do(thread_waits& waits, event_handle event, std::uint32_t timeout_ms)
{
    std::uint32_t answer = 0;
    while ((answer = waits.wait(1, &event, false, timeout_ms, wake_for_all_input)) == 1) {
        thread_message message;
        while (waits.peek_message(&message, 0, 0, 0, remove_message)) {
            waits.translate_message(&message);
            waits.dispatch_message(&message);
        }
    }
    return answer;
}

/// Counts the rounds of the thread's event loops, those that sleep and those that do not.
class round_counter final : public QObject {
public:
    round_counter()
    {
        const QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
        connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [this] { ++count; });
        connect(dispatcher, &QAbstractEventDispatcher::awake, this, [this] { ++count; });
    }

    int count = 0;
};

/// Counts the events of one type that reach an object.
class event_counter final : public QObject {
public:
    event_counter(QObject& watched, QEvent::Type type) : m_type(type) { watched.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == m_type;
        return false;
    }

    int count = 0;

private:
    QEvent::Type m_type;
};

/// Counts what Qt has to say, on any thread.
class complaints_of_qt {
public:
    complaints_of_qt()
    {
        count = 0;
        m_before = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { ++count; });
    }
    ~complaints_of_qt() { qInstallMessageHandler(m_before); }
    complaints_of_qt(const complaints_of_qt&) = delete;
    complaints_of_qt& operator=(const complaints_of_qt&) = delete;

    static inline std::atomic<int> count = 0;

private:
    QtMessageHandler m_before = nullptr;
};

struct QtThreadWaits : testing::Test {
    ~QtThreadWaits() override { waits.close_event(event); }

    std::uint32_t wait(std::uint32_t timeout_ms, std::uint32_t wake_mask = wake_for_all_input)
    {
        return waits.wait(1, &event, false, timeout_ms, wake_mask);
    }

    recording_window shown;
    qt_thread_waits waits{shown.toolkit, *posix_services().waits};
    event_handle event = waits.create_event(false, false);
};

TEST_F(QtThreadWaits, AnEventThatIsSetEndsTheWaitBeforeAnythingHappens)
{
    bool happened = false;
    QTimer::singleShot(0, qApp, [&] { happened = true; });
    waits.set_event(event);
    EXPECT_EQ(wait(wait_for_ever), wait_object);
    EXPECT_FALSE(happened);
    pump();
    EXPECT_TRUE(happened);
    EXPECT_EQ(wait(0), wait_timeout) << "taken by the first";
}

TEST_F(QtThreadWaits, AnEventOfAnotherThreadEndsTheWait)
{
    for (int i = 0; i < 50; ++i) {
        std::thread other;
        QTimer::singleShot(0, qApp, [&] { other = std::thread([this] { waits.set_event(event); }); });
        EXPECT_EQ(wait_as_callers_do(waits, event, wait_for_ever), wait_object);
        other.join();
    }
}

TEST_F(QtThreadWaits, TellsWhichOfSeveralEventsItWas)
{
    const event_handle both[] = {event, waits.create_event(true, false)};
    QTimer::singleShot(0, qApp, [&] { waits.set_event(both[1]); });
    EXPECT_EQ(waits.wait(2, both, false, wait_for_ever, wake_for_all_input), wait_object + 1);
    EXPECT_TRUE(waits.reset_event(both[1]));
    EXPECT_EQ(waits.wait(2, both, false, 0, wake_for_all_input), wait_timeout);
    EXPECT_TRUE(waits.close_event(both[1]));
}

TEST_F(QtThreadWaits, WhereNothingHappensTheTimeIsOverInTheEnd)
{
    pump();
    const round_counter rounds;
    const auto start = steady::now();
    EXPECT_EQ(wait(150), wait_timeout);
    EXPECT_GE(steady::now() - start, 150ms);
    EXPECT_LT(rounds.count, 30) << "asleep in between";
}

TEST_F(QtThreadWaits, WhatTheWindowDrawsByItselfPutsOffNothing)
{
    pump();
    const event_counter paints(shown.window(), QEvent::Paint);
    QTimer blinking;
    int blinks = 0;
    QObject::connect(&blinking, &QTimer::timeout, [&] {
        ++blinks;
        shown.window().update();
    });
    blinking.start(10);
    const auto start = steady::now();
    EXPECT_EQ(wait(200), wait_timeout);
    EXPECT_LT(steady::now() - start, 30s);
    EXPECT_GT(blinks, 0);
    EXPECT_GT(paints.count, 0) << "it is drawn";
}

TEST_F(QtThreadWaits, EventsAreMadeAsTheyAreWanted)
{
    for (const bool manual_reset : {false, true}) {
        const event_handle made = waits.create_event(manual_reset, true);
        EXPECT_TRUE(take_event(made));
        EXPECT_EQ(take_event(made), manual_reset);
        EXPECT_TRUE(waits.close_event(made));
    }
}

TEST_F(QtThreadWaits, ManyDaysAreNotOverAtOnce)
{
    const complaints_of_qt complaints;
    for (const std::uint32_t timeout_ms : {0x7FFFFFFFU, 0x80000000U, wait_for_ever - 1}) {
        QTimer::singleShot(20, qApp, [&] { waits.set_event(event); });
        EXPECT_EQ(wait(timeout_ms), wait_object);
    }
    EXPECT_EQ(complaints_of_qt::count, 0) << "of an alarm too far off";
}

/// Is never done with drawing itself.
class restless_widget final : public QWidget {
public:
    using QWidget::QWidget;
    int paints = 0;

protected:
    void paintEvent(QPaintEvent*) override
    {
        ++paints;
        update();
    }
};

TEST_F(QtThreadWaits, WhatIsDrawnWithoutEndPutsOffNothing)
{
    restless_widget restless(&shown.window());
    restless.resize(20, 20);
    restless.show();
    pump();
    restless.paints = 0;
    EXPECT_EQ(wait(100), wait_timeout);
    EXPECT_GT(restless.paints, 1);
}

TEST_F(QtThreadWaits, DescriptorsOfOthersPutOffNothing)
{
    const event_handle other = waits.create_event(false, false);
    QSocketNotifier notifier(qintptr{descriptor_of_event(other)}, QSocketNotifier::Read);
    int told = 0;
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&] { told += take_event(other); });
    QTimer sending;
    QObject::connect(&sending, &QTimer::timeout, &sending, [&] { waits.set_event(other); });
    sending.start(10);
    EXPECT_EQ(wait(100), wait_timeout);
    EXPECT_GT(told, 0);
    notifier.setEnabled(false);
    EXPECT_TRUE(waits.close_event(other));
}

TEST_F(QtThreadWaits, ObjectsThatComeAndGoPutOffNothing)
{
    pump();
    const event_counter deleted(*qApp, QEvent::DeferredDelete);
    QTimer busy;
    QObject::connect(&busy, &QTimer::timeout, &busy, [&] { (new QObject(&shown.window()))->deleteLater(); });
    busy.start(10);
    EXPECT_EQ(wait(100), wait_timeout);
    EXPECT_GT(deleted.count, 0);
}

TEST_F(QtThreadWaits, WhatAnotherThreadPostsCountsAsAMessage)
{
    pump();
    for (int i = 0; i < 100; ++i) {
        bool happened = false;
        std::thread other([&] {
            QMetaObject::invokeMethod(
                qApp, [&happened] { happened = true; }, Qt::QueuedConnection);
        });
        EXPECT_EQ(wait(wait_for_ever), 1u);
        EXPECT_TRUE(happened);
        other.join();
    }
}

TEST_F(QtThreadWaits, KeysReachTheFrameAndCountAsMessages)
{
    QTimer::singleShot(0, qApp, [&] { press(shown.window(), Qt::Key_F3); });
    EXPECT_EQ(wait(wait_for_ever), 1u);
    EXPECT_EQ(shown.frame.commands.size(), 1u);
    thread_message message;
    EXPECT_FALSE(waits.peek_message(&message, 0, 0, 0, remove_message)) << "it was dealt with";
    EXPECT_FALSE(waits.translate_message(&message));
    EXPECT_EQ(waits.dispatch_message(&message), 0);
}

TEST_F(QtThreadWaits, MessagesStartTheTimeAnew)
{
    // All of it takes longer than one wait may.
    int presses = 0;
    QTimer typing;
    QObject::connect(&typing, &QTimer::timeout, [&] {
        press(shown.window(), Qt::Key_F3);
        if (++presses == 12) {
            typing.stop();
            waits.set_event(event);
        }
    });
    typing.start(100);
    EXPECT_EQ(wait_as_callers_do(waits, event, 1000), wait_object);
    EXPECT_EQ(presses, 12);
}

TEST_F(QtThreadWaits, AnEventIsLeftForTheWaitWhileADialogIsOpen)
{
    const round_counter rounds;
    int rounds_in_dialog = 0;
    QTimer::singleShot(0, qApp, [&] {
        waits.set_event(event);
        const int before = rounds.count;
        QEventLoop dialog;
        QTimer::singleShot(150, &dialog, &QEventLoop::quit);
        dialog.exec();
        rounds_in_dialog = rounds.count - before;
    });
    EXPECT_EQ(wait(wait_for_ever), wait_object);
    EXPECT_LT(rounds_in_dialog, 30) << "asleep in between";
}

TEST_F(QtThreadWaits, AnEventThatOthersTookDuringADialogEndsTheWaitTheNextTime)
{
    std::thread other;
    // A timer of no time at all would be a message.
    QTimer::singleShot(1, qApp, [&] {
        waits.set_event(event);
        QEventLoop dialog;
        QTimer::singleShot(20, &dialog, &QEventLoop::quit);
        dialog.exec();
        EXPECT_TRUE(take_event(event));
        // When the wait sleeps again.
        QTimer::singleShot(20, qApp, [&] { other = std::thread([&] { waits.set_event(event); }); });
    });
    EXPECT_EQ(wait(wait_for_ever), wait_object);
    ASSERT_TRUE(other.joinable());
    other.join();
}

TEST_F(QtThreadWaits, WaitsMayNest)
{
    const event_handle inner = waits.create_event(false, false);
    std::uint32_t inner_answer = wait_failed;
    QTimer::singleShot(0, qApp, [&] {
        QTimer::singleShot(0, qApp, [&] {
            waits.set_event(event);
            waits.set_event(inner);
        });
        inner_answer = wait_as_callers_do(waits, inner, wait_for_ever);
    });
    EXPECT_EQ(wait_as_callers_do(waits, event, wait_for_ever), wait_object);
    EXPECT_EQ(inner_answer, wait_object);
    EXPECT_TRUE(waits.close_event(inner));
}

TEST_F(QtThreadWaits, ACommandThatThrowsEndsAtItsOwnEntry)
{
    bool went_on = false;
    bool waiting = false;
    shown.frame.on_command = [&](std::uint32_t) {
        if (waiting) {
            waits.set_event(event);
            throw std::runtime_error("inside");
        }
        waiting = true;
        QTimer::singleShot(0, qApp, [&] { press(shown.window(), Qt::Key_F3); });
        EXPECT_EQ(wait_as_callers_do(waits, event, wait_for_ever), wait_object);
        went_on = true;
    };
    press(shown.window(), Qt::Key_F3);
    shown.frame.on_command = nullptr;
    EXPECT_TRUE(went_on);
    EXPECT_EQ(shown.unhandled.size(), 1u);
}

TEST_F(QtThreadWaits, TheWindowMayBeClosedDuringTheWaitOfItsOwnCommand)
{
    const QPointer<main_window> window = &shown.window();
    bool went_on = false;
    shown.frame.on_command = [&](std::uint32_t) {
        QTimer::singleShot(0, qApp, [&] {
            window->close();
            QTimer::singleShot(20, qApp, [&] { waits.set_event(event); });
        });
        EXPECT_EQ(wait_as_callers_do(waits, event, wait_for_ever), wait_object);
        went_on = true;
    };
    menu_action(shown.window(), QStringLiteral("&Search/Find Next"))->trigger();
    EXPECT_TRUE(went_on);
    EXPECT_EQ(shown.frame.close_count, 1);
    EXPECT_EQ(shown.toolkit.window(), nullptr);
    pump();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(window.isNull());
}

TEST_F(QtThreadWaits, FailsAtAnEventThatIsNone)
{
    const event_handle none = no_event;
    EXPECT_EQ(waits.wait(1, &none, false, wait_for_ever, wake_for_all_input), wait_failed);
    EXPECT_EQ(get_last_error(), error_invalid_handle);

    const event_handle closed = waits.create_event(false, false);
    set_last_error(error_success);
    QTimer::singleShot(0, qApp, [&] { waits.close_event(closed); });
    EXPECT_EQ(waits.wait(1, &closed, false, wait_for_ever, wake_for_all_input), wait_failed) << "closed meanwhile";
    EXPECT_EQ(get_last_error(), error_invalid_handle);
}

TEST_F(QtThreadWaits, WithoutMessagesToWakeForTheWindowStandsStill)
{
    bool happened = false;
    QTimer::singleShot(0, qApp, [&] { happened = true; });
    EXPECT_EQ(wait(20, 0), wait_timeout);
    EXPECT_FALSE(happened);
    pump();
    EXPECT_TRUE(happened);
}

TEST_F(QtThreadWaits, AnotherThreadWaitsAsWithoutAWindow)
{
    const event_handle asked = waits.create_event(false, false);
    bool happened = false;
    QTimer::singleShot(0, qApp, [&] { happened = true; });
    const complaints_of_qt complaints;
    std::thread other([&] {
        EXPECT_EQ(waits.wait(1, &asked, false, 10, wake_for_all_input), wait_timeout);
        waits.set_event(event);
        EXPECT_EQ(waits.wait(1, &asked, false, wait_for_ever, wake_for_all_input), wait_object);
        EXPECT_FALSE(happened) << "the window's events are not its own";
    });
    EXPECT_EQ(wait(wait_for_ever, 0), wait_object);
    waits.set_event(asked);
    other.join();
    EXPECT_EQ(complaints_of_qt::count, 0) << "timers and notifiers need an event loop";
    EXPECT_TRUE(waits.close_event(asked));
    pump();
    EXPECT_TRUE(happened);
}

TEST(QtThreadWaitsOfTheProgram, AreInUseWhileItsWindowCanBeThere)
{
    thread_waits* const before = current().waits;
    {
        main_window_host host({});
        EXPECT_NE(dynamic_cast<qt_thread_waits*>(current().waits), nullptr);
        host.set_registry_key(u"Cratewright");
        EXPECT_NE(dynamic_cast<qt_thread_waits*>(current().waits), nullptr);
    }
    EXPECT_EQ(current().waits, before);
}

TEST(QtThreadWaitsOfTheProgram, ExitDuringAWaitEndsTheProgramAfterIt)
{
    main_window_host host({});
    const event_handle event = current().waits->create_event(false, false);
    std::uint32_t answer = wait_failed;
    std::function<void()> when_running = [&] {
        if (QThread::currentThread()->loopLevel() == 0) {
            QTimer::singleShot(0, qApp, when_running);
            return;
        }
        QTimer::singleShot(0, qApp, [&] {
            menu_action(*host.window_toolkit().window(), QStringLiteral("&File/E&xit"))->trigger();
            QTimer::singleShot(20, qApp, [&] { current().waits->set_event(event); });
        });
        answer = wait_as_callers_do(*current().waits, event, wait_for_ever);
        EXPECT_EQ(host.window_toolkit().window(), nullptr);
    };
    QTimer::singleShot(0, qApp, when_running);
    EXPECT_EQ(run_window(host), 0);
    EXPECT_EQ(answer, wait_object);
    EXPECT_TRUE(current().waits->close_event(event));
}

} // namespace
} // namespace cw
