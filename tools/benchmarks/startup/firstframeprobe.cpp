// Turns any program with a Qt Widgets window into a start-up benchmark by being linked into it.
//
// KDMX_BENCHMARK_START is CLOCK_MONOTONIC in nanoseconds, read just before the program was executed. With it, the
// program prints one line about its start once the first frame of a window has gone to the display, and quits.
// Without it, the program runs as usual. KDMX_BENCHMARK_START_CPU is the CPU time that the process had used by then.

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>
#include <QWindow>

#include <cstdio>
#include <ctime>
#include <fstream>
#include <initializer_list>
#include <string>
#include <sys/resource.h>

namespace {

// The moment of the start: the time on the clock and the CPU time of the process.
struct Start
{
    double wallMs = 0;
    double cpuMs = 0;
};

double millisecondsFrom(const char *nanosecondsVariable)
{
    return static_cast<double>(qgetenv(nanosecondsVariable).toLongLong()) / 1e6;
}

double monotonicMs()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double milliseconds(const timeval &time)
{
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

double cpuMs()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

// Adds up the lines "<name>: <number> kB" of a file below /proc/self.
long kibibytes(const char *fileName, std::initializer_list<const char *> names)
{
    long sum = 0;
    std::ifstream file(fileName);
    std::string line;
    while (std::getline(file, line)) {
        for (const char *name : names) {
            const std::string key = name + std::string(":");
            if (line.compare(0, key.size(), key) == 0)
                sum += std::stol(line.substr(key.size()));
        }
    }
    return sum;
}

void report(const Start &start)
{
    // The clocks first: looking at the memory takes time itself.
    const double wall = monotonicMs() - start.wallMs;
    const double cpu = cpuMs() - start.cpuMs;
    const long unique = kibibytes("/proc/self/smaps_rollup", {"Private_Clean", "Private_Dirty"});
    const long peak = kibibytes("/proc/self/status", {"VmHWM"});
    std::printf("{\"wallMs\": %.3f, \"cpuMs\": %.3f, \"uniqueKib\": %ld, \"peakKib\": %ld}\n", wall, cpu, unique, peak);
    std::fflush(stdout);
}

class FirstFrameProbe : public QObject
{
public:
    FirstFrameProbe(const Start &start, QObject *parent)
        : QObject(parent)
        , m_start(start)
    {
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && isShownWindow(watched))
            reportAfterFlush();
        return false;
    }

private:
    static bool isShownWindow(QObject *object)
    {
        const auto *const widget = qobject_cast<QWidget *>(object);
        return widget && widget->isWindow() && widget->windowHandle() && widget->windowHandle()->isExposed();
    }

    void reportAfterFlush()
    {
        QCoreApplication::instance()->removeEventFilter(this);
        // The window is painted first and its children after it, and then the whole frame is sent to the display, all
        // before control returns to the event loop. A queued call is the first thing after that; a timer would also
        // wait for whatever else is queued.
        QMetaObject::invokeMethod(
            this,
            [this] {
                report(m_start);
                QCoreApplication::quit();
            },
            Qt::QueuedConnection);
    }

    Start m_start;
};

void installProbe()
{
    if (qEnvironmentVariableIsEmpty("KDMX_BENCHMARK_START"))
        return;
    const Start start = {millisecondsFrom("KDMX_BENCHMARK_START"), millisecondsFrom("KDMX_BENCHMARK_START_CPU")};
    QCoreApplication *const application = QCoreApplication::instance();
    application->installEventFilter(new FirstFrameProbe(start, application));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(installProbe)
