#include "command_monitor.h"

#include "interrupts.h"
#include "monitorkeys.h"
#include "monitorunit.h"
#include "monitorview.h"
#include "screen.h"
#include "terminal.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <clocale>
#include <cstdio>

namespace kdmxctl {

namespace {

// How often keys, signals and the size of the terminal are checked: often enough for a hand.
constexpr int step_interval_ms = 20;

constexpr int volume_step = 5;
constexpr int fine_volume_step = 1;

/// Lines of Qt and of the device object go where the link's lines go: on the terminal they would tear the view.
void log_message(QtMsgType, const QMessageLogContext &, const QString &message)
{
    std::printf("%s\n", qPrintable(message));
}

class LoggedMessages
{
public:
    LoggedMessages() { qInstallMessageHandler(log_message); }
    ~LoggedMessages() { qInstallMessageHandler(nullptr); }
    LoggedMessages(const LoggedMessages &) = delete;
    LoggedMessages &operator=(const LoggedMessages &) = delete;
};

class UsedPlatform
{
public:
    explicit UsedPlatform(const usplatform_t *platform) { usplatform_use(platform); }
    ~UsedPlatform() { usplatform_use(nullptr); }
    UsedPlatform(const UsedPlatform &) = delete;
    UsedPlatform &operator=(const UsedPlatform &) = delete;
};

/// The application object, without arguments: the program has read them itself.
class Application
{
public:
    Application()
    {
        // Qt sets the user's locale; numbers in traces are for programs.
        std::setlocale(LC_NUMERIC, "C");
    }

private:
    char m_name[8] = "kdmxctl";
    char *m_arguments[2] = {m_name, nullptr};
    int m_count = 1;
    QCoreApplication m_application{m_count, m_arguments};
};

/// The view while it runs.
class Monitor
{
public:
    Monitor(MonitorUnit *unit, bool is_utf8)
        : m_unit(unit)
        , m_is_utf8(is_utf8)
    {
    }

    void draw()
    {
        const Screen::Size size = m_screen.size();
        if (!m_screen.write(m_painter.update(monitor_rows(m_unit->state(), size, m_is_utf8), size)))
            end_without_terminal();
    }

    /// Does what was typed; false when it is the end.
    bool take_keys()
    {
        const std::optional<std::string> typed = m_screen.read();
        if (!typed)
            end_without_terminal();
        for (const MonitorKey key : m_keys.take(*typed)) {
            if (key == MonitorKey::Quit)
                return false;
            act(key);
        }
        return true;
    }

private:
    [[noreturn]] static void end_without_terminal()
    {
        if (interrupts::must_end())
            throw Failure{ExitCode::Interrupted, "Interrupted."};
        throw Failure{ExitCode::Failed, "The terminal is gone."};
    }

    void act(MonitorKey key)
    {
        switch (key) {
        case MonitorKey::VolumeUp:
            return m_unit->change_volume(volume_step);
        case MonitorKey::VolumeDown:
            return m_unit->change_volume(-volume_step);
        case MonitorKey::VolumeUpFine:
            return m_unit->change_volume(fine_volume_step);
        case MonitorKey::VolumeDownFine:
            return m_unit->change_volume(-fine_volume_step);
        case MonitorKey::Input1:
            return m_unit->switch_input(1);
        case MonitorKey::Input2:
            return m_unit->switch_input(2);
        case MonitorKey::Stereo:
            return m_unit->switch_stereo();
        case MonitorKey::PowerSave:
            return m_unit->switch_power_save();
        case MonitorKey::Refresh:
            m_painter = {};
            return m_unit->refresh();
        case MonitorKey::Suspend:
            m_screen.suspend();
            m_painter = {};
            return;
        case MonitorKey::None:
        case MonitorKey::Quit:
            return;
        }
    }

    MonitorUnit *m_unit;
    bool m_is_utf8;
    Screen m_screen;
    MonitorPainter m_painter;
    MonitorKeyReader m_keys;
};

/// When the view ends by itself.
class Deadline
{
public:
    explicit Deadline(const std::optional<double> &seconds)
        : m_limit(seconds)
    {
    }

    bool has_passed() const
    {
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - m_begin;
        return m_limit && spent.count() >= *m_limit;
    }

private:
    std::optional<double> m_limit;
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
};

/// Keys and drawing stand between the events, not in them: what they throw must not pass through Qt.
void show(MonitorUnit *unit, bool is_utf8, const Deadline &deadline)
{
    Monitor monitor(unit, is_utf8);
    QTimer step;
    step.start(step_interval_ms);
    monitor.draw();
    while (monitor.take_keys() && !deadline.has_passed()) {
        if (interrupts::count() > 0 || interrupts::must_end())
            throw Failure{ExitCode::Interrupted, "Interrupted."};
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        monitor.draw();
    }
}

class MonitorCommand : public Command
{
public:
    CommandTexts texts() const override
    {
        return {"monitor", "", "show the unit live, with keys to set it",
                "Shows on the terminal whether the unit is there, who it is, its sample rate, the input volume of the "
                "direct monitor, whether inputs 1 and 2 are on, the direct monitor's stereo mode, auto power save and "
                "the debug text of its firmware, asked for twice a second. A unit that is plugged in later appears by "
                "itself.\n\n"
                "Keys:\n"
                "  +  -        input volume, also the arrows up and down\n"
                "  right left  input volume in single steps\n"
                "  1  2        input 1, input 2 on or off\n"
                "  m           mono or stereo\n"
                "  p           auto power save\n"
                "  r           ask for everything again and redraw\n"
                "  q           quit\n\n"
                "A value with \"...\" behind it was set and is not yet reported by the unit. With --timeout the view "
                "ends by itself. The lines of the link and a trace go to files: --log and --trace need one while "
                "standard error is the terminal. There is no --json and no --replay of a view.\n\n"
                "Examples:\n"
                "  kdmxctl monitor\n"
                "  kdmxctl --virtual=busy=2,debug=hello monitor\n"};
    }

    bool check(const Options &options) override
    {
        if (options.json)
            throw bad_argument("monitor is for people: it has no --json. \"kdmxctl --json info\" and its like tell "
                               "programs what it shows.");
        if (options.replay)
            throw bad_argument("monitor asks by the clock, so that no --replay can follow it.");
        if (!Screen::is_possible())
            throw bad_argument("monitor needs a terminal that can place its cursor, on standard input and standard "
                               "output.");
        const bool would_tear = options.log == "-" || options.trace == "-";
        if (would_tear && terminal::has_error_output())
            throw bad_argument("--log and --trace of monitor need a file: on the terminal they would tear its view.");
        return false;
    }

    Result run_on(const usplatform_t *platform, const Options &options, TraceWriter *trace) override
    {
        const Deadline deadline(options.timeout);
        const bool is_utf8 = Screen::shows_utf8();
        const UsedPlatform used_platform(platform);
        const LoggedMessages logged_messages;
        const Application application;
        MonitorUnit unit(trace);
        show(&unit, is_utf8, deadline);
        return {};
    }
};

} // namespace

void add_monitor_command(Commands *commands)
{
    commands->push_back(std::make_unique<MonitorCommand>());
}

} // namespace kdmxctl
