// How long the dashboard holds the main thread at a time while images come.
//
//   quorin-face-bench [seconds of receiving]
//
// Each figure is one event that the main thread handled, with all that it led to: telling a card, laying out,
// painting.

#include "shell/dashboard/frame/dashboard_window_controller.h"
#include "shell/dashboard/testing/dashboard_world.h"

#include <QtCore/QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {

using gateway::shell::testing::DashboardWorld;

constexpr int kImagesASecond = 500;

/// Time that this thread was given by the processor: other programs don't lengthen it.
double processorMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Times each event that isn't handled within another.
class TimedApplication final : public QApplication
{
public:
    using QApplication::QApplication;

    bool notify(QObject *receiver, QEvent *event) override
    {
        if (m_depth > 0 || !m_isTiming) {
            return QApplication::notify(receiver, event);
        }
        ++m_depth;
        const double begin = processorMilliseconds();
        const bool handled = QApplication::notify(receiver, event);
        m_taken.push_back(processorMilliseconds() - begin);
        --m_depth;
        return handled;
    }

    void time() { m_isTiming = true; }

    void report(double seconds)
    {
        std::sort(m_taken.begin(), m_taken.end());
        double sum = 0;
        for (const double one : m_taken) {
            sum += one;
        }
        const auto at = [this](double share) {
            return m_taken.at(static_cast<std::size_t>(share * static_cast<double>(m_taken.size() - 1)));
        };
        std::printf("events at %d images a second: %zu, ms of processor median %.3f, p99 %.3f, longest %.3f, "
                    "share %.2f%%\n",
                    kImagesASecond,
                    m_taken.size(),
                    at(0.5),
                    at(0.99),
                    at(1),
                    sum / seconds / 10);
    }

private:
    std::vector<double> m_taken;
    int m_depth = 0;
    bool m_isTiming = false;
};

/// Images of one association, each told as the receiver tells it, and a tenth of them as uploaded.
class Arrivals
{
public:
    explicit Arrivals(DashboardWorld &world) : m_world(world) {}

    void tick()
    {
        const auto due = std::chrono::steady_clock::now() - m_begin;
        while (m_told < kImagesASecond * std::chrono::duration<double>(due).count()) {
            m_world.addImages(1, m_told % 10 == 0 ? 1 : 0, m_world.receive.clock.now());
            m_world.receive.clock.advance(std::chrono::milliseconds(1000 / kImagesASecond));
            m_world.state.recordReceivedItem();
            m_world.state.refreshCounters();
            if (m_told % 10 == 0) {
                m_world.state.refreshTransferSeries();
            }
            ++m_told;
        }
    }

private:
    DashboardWorld &m_world;
    const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    int m_told = 0;
};

} // namespace

int main(int argc, char **argv)
{
    TimedApplication application(argc, argv);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 10;
    DashboardWorld world;
    world.theme.setReducedMotion(false);
    world.startListener();
    world.signIn();
    gateway::shell::DashboardWindowController dashboard(world.parts());
    dashboard.show();
    world.state.beginReceiveAssociation(QStringLiteral("bench"));
    QCoreApplication::processEvents();

    Arrivals arrivals(world);
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { arrivals.tick(); });
    timer.start(std::chrono::milliseconds(1000 / kImagesASecond));
    const auto opening = std::chrono::seconds(1); // the first pictures of a window take longer
    QTimer::singleShot(opening, &application, [&] { application.time(); });
    QTimer::singleShot(opening + std::chrono::seconds(seconds), &application, &QCoreApplication::quit);
    QApplication::exec();
    application.report(seconds);
    return 0;
}
