// The log manager: levels, the filter, the lines of each module, the choice
// of destination, the fatal exit, the header, the debug facilities, and
// switching the destination while other threads log.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tarvolk/i18n.h>
#include <tarvolk/log.h>
#include <tarvolk/log_stdout.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>
#include <tarvolk/shlib.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "frame/log.h"
#include "support/test_support.h"

namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

// The ISO time stamp of the stdout module's lines.
const std::string stamp = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}";

template <typename Body> std::string stderr_of(Body body)
{
    ::testing::internal::CaptureStderr();
    body();
    return ::testing::internal::GetCapturedStderr();
}

// A log handle, closed at the end of the scope.
struct Handle {
    NLogFile *log = nullptr;
    NRC rc;
    explicit Handle(const char *destination) : rc(NLogFileOpen(destination, &log)) {}
    ~Handle() { NLogFileClose(log); }
};

bool on_stdout_module(const NLogFile *log)
{
    NLogOpenFunc open = nullptr;
    NLogStdoutModuleFuncs(&open, nullptr, nullptr);
    return log->open == open;
}

TEST(LogLevelTest, NamesParseAsCaseBlindPrefixes)
{
    struct Row {
        const char *text;
        NLogLevel level;
        const char *quantized; // null: no level
    };
    const Row rows[] = {
        {"fatal", 5, "fatal"}, {"ERROR", 4, "ERROR"},  {"Warning", 3, "Warn"},
        {"warnings", 3, "warn"}, {"war", 6, nullptr},  {"information", 2, "info"},
        {"DEBUGGING", 1, "DEBUG"}, {"unknown!", 6, nullptr}, {"", 6, nullptr},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(row.level, NLogLevelFromString(row.text));
        char *quantized = reinterpret_cast<char *>(1);
        EXPECT_EQ(row.quantized != nullptr ? 0 : NRC_FAILURE,
                  NLogFileQuantizeLevel(row.text, &quantized));
        EXPECT_STREQ(row.quantized, quantized);
        n_free(quantized);
    }
    const std::vector<std::string> names = {"unknown!", "debug", "info", "warn",
                                            "error",    "fatal", "unknown!", "unknown!"};
    for (NLogLevel level = 0; level < names.size(); ++level)
        EXPECT_EQ(names[level], NLogLevelToString(level)) << level;
}

TEST(LogLevelTest, HandleStartsAtWarnAndKeepsItsLevelOnBadText)
{
    Handle handle("stderr");
    EXPECT_EQ(3U, NLogFileGetLevel(handle.log));
    EXPECT_EQ(0, NLogFileSetLevelFromString(handle.log, "DEBUGGING"));
    EXPECT_EQ(1U, NLogFileGetLevel(handle.log));
    EXPECT_EQ(NRC_FAILURE, NLogFileSetLevelFromString(handle.log, "war"));
    EXPECT_EQ(1U, NLogFileGetLevel(handle.log));

    const std::pair<const char *, NLogLevel> environment[] = {
        {"Error", 4}, {"debug", 1}, {"nonsense", 3}};
    for (const auto &[text, level] : environment) {
        setenv("NDE_DEFAULT_LOG_LEVEL", text, 1);
        Handle fresh("stderr");
        EXPECT_EQ(level, NLogFileGetLevel(fresh.log)) << text;
    }
    unsetenv("NDE_DEFAULT_LOG_LEVEL");
}

TEST(LogFilterTest, LevelAndDebugFlagDecide)
{
    struct Row {
        NLogLevel log_level, level;
        int32_t flag;
        bool written;
    };
    const Row rows[] = {
        {3, 3, 0, true},  {3, 2, 1, false}, {1, 1, 0, false}, {1, 1, 1, true},
        {2, 2, 0, true},  {2, 1, 1, false}, {6, 6, 0, true},  {6, 5, 1, false},
    };
    NLogFile log = {nullptr, 0, 1, _NLogDefaultOpen, _NLogDefaultFormat,
                    _NLogDefaultWrite, _NLogDefaultClose, nullptr};
    for (const Row &row : rows) {
        log.level = row.log_level;
        const std::string err = stderr_of(
            [&] { EXPECT_EQ(0, NLogToFile(&log, row.level, row.flag, nullptr, 1, 2, "m")); });
        EXPECT_EQ(row.written, !err.empty()) << row.log_level << " " << row.level;
    }
    // A dropped message never looks at its arguments.
    log.level = 4;
    const char *bad = reinterpret_cast<const char *>(8);
    EXPECT_EQ(0, NLogToFile(&log, 3, 1, nullptr, 1, 2, "%s", bad));
    EXPECT_EQ(0, NLog(2, 1, nullptr, 1, 2, "%s", bad)); // the process-wide log is at warn
    TVK_IN_FRESH_PROCESS({
        NLogMgrSetLevel(1);
        EXPECT_EQ(0, NLog(1, 0, nullptr, 1, 2, "%s", bad));
        EXPECT_EQ(0, NLogLog(1, 0, nullptr, 1, 2, "%s", bad));
    });
    EXPECT_EQ(EINVAL, NLogToFile(nullptr, 5, 1, nullptr, 1, 2, "m"));
}

TEST(LogLineTest, DefaultModuleRepeatsTheIdentification)
{
    NI18nLocale locale = nullptr;
    NI18nCatalog catalog = nullptr;
    ASSERT_EQ(0, NI18nInitialize());
    ASSERT_EQ(0, NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, &locale));
    ASSERT_EQ(0, NI18nCatalogOpen(locale, "tvk_srv", &catalog));

    NLogFile log = {nullptr, 0, 1, _NLogDefaultOpen, _NLogDefaultFormat,
                    _NLogDefaultWrite, _NLogDefaultClose, nullptr};
    struct Row {
        NLogLevel level;
        NI18nCatalog catalog;
        int32_t set, number;
        const char *line;
    };
    const Row rows[] = {
        {5, nullptr, 101, 2, "fatal: F-UNK-101-002: F-UNK-101-002: n=7 x\n"},
        {4, catalog, 102, 17, "error: E-SRV-102-017: E-SRV-102-017: n=7 x\n"},
        {3, nullptr, 103, 1234, "warn: W-UNK-103-1234: W-UNK-103-1234: n=7 x\n"},
        {2, nullptr, 0, 0, "info: I-UNK-000-000: I-UNK-000-000: n=7 x\n"},
        {1, nullptr, 105, 3, "debug: D-UNK-105-003: D-UNK-105-003: n=7 x\n"},
        {6, nullptr, 1, 1, "unknown!: X-UNK-001-001: X-UNK-001-001: n=7 x\n"},
        {0, catalog, 1, 1, "unknown!: X-SRV-001-001: X-SRV-001-001: n=7 x\n"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(row.line, stderr_of([&] {
                      EXPECT_EQ(0, NLogToFile(&log, row.level, 1, row.catalog, row.set,
                                              row.number, "n=%d %s", 7, "x"));
                  }));
    }
    NI18nCatalogClose(catalog);
    NI18nLocaleDestroy(locale);
}

// Arguments in registers, floating point ones and those on the stack all
// reach the text through the process-wide log's entry.
TEST(LogLineTest, ProcessLogPassesEveryKindOfArgument)
{
    EXPECT_EQ("error: E-UNK-001-002: E-UNK-001-002: 1 2 3 4 5 6 7 x 2.5 -1\n", stderr_of([] {
                  EXPECT_EQ(0, NLog(4, 0, nullptr, 1, 2, "%d %d %d %d %d %d %d %s %.1f %lld", 1,
                                    2, 3, 4, 5, 6, 7, "x", 2.5, -1LL));
              }));
}

TEST(LogLineTest, StdoutModuleStampsAndNamesTheLevel)
{
    const char *words[] = {"Unknown", "Debug", "Information", "Warning", "Error", "Fatal",
                           "Unknown"};
    const char letters[] = "XDIWEFX";
    Handle handle("stderr");
    ASSERT_EQ(0, handle.rc);
    EXPECT_EQ(stderr, handle.log->module_handle);
    NLogFileSetLevel(handle.log, 0);
    NLogFileSetFatalDoesNotExit(handle.log, 1);
    for (NLogLevel level = 0; level <= 6; ++level) {
        const std::string err =
            stderr_of([&] { NLogToFile(handle.log, level, 1, nullptr, 102, 3, "v%d", 5); });
        EXPECT_THAT(err, MatchesRegex(stamp + ": " + words[level] + ": " + letters[level] +
                                      "-UNK-102-003: v5\n"));
    }
    Handle out("stdout");
    EXPECT_EQ(stdout, out.log->module_handle);
    ::testing::internal::CaptureStdout();
    NLogToFile(out.log, 4, 1, nullptr, 1, 1, "to standard output");
    EXPECT_THAT(::testing::internal::GetCapturedStdout(),
                MatchesRegex(stamp + ": Error: E-UNK-001-001: to standard output\n"));
}

TEST(LogLineTest, FormatIsCutButArgumentsAreNot)
{
    NLogFile log = {nullptr, 0, 1, _NLogDefaultOpen, _NLogDefaultFormat,
                    _NLogDefaultWrite, _NLogDefaultClose, nullptr};
    const std::string format = std::string(1022, 'a') + "%d";
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::string err = stderr_of([&] { NLogToFile(&log, 4, 1, nullptr, 1, 1, format.c_str(), 9); });
#pragma GCC diagnostic pop
    EXPECT_EQ(std::string::npos, err.find("a9")); // "%d" was cut in the middle
    EXPECT_NE(std::string::npos, err.find(std::string(1022, 'a')));

    const std::string long_argument(5000, 'b');
    err = stderr_of([&] { NLogToFile(&log, 4, 1, nullptr, 1, 1, "%s", long_argument.c_str()); });
    EXPECT_NE(std::string::npos, err.find(long_argument + "\n"));
}

TEST(LogLineTest, PrintingFailureLosesTheMessageAndDoesNotExit)
{
    // The C locale has no multibyte form of this character.
    NLogFile log = {nullptr, 0, 0, _NLogDefaultOpen, _NLogDefaultFormat,
                    _NLogDefaultWrite, _NLogDefaultClose, nullptr};
    NRC rc = 0;
    const std::string err = stderr_of(
        [&] { rc = NLogToFile(&log, 5, 1, nullptr, 1, 1, "wide %ls", L"\u00e9"); });
    EXPECT_EQ(EILSEQ, rc);
    EXPECT_EQ("Log message format error [Msg=wide %ls]. (" + std::to_string(EILSEQ) + ":" +
                  std::strerror(EILSEQ) + ")\n",
              err);

    log.format = nullptr;
    EXPECT_EQ("No log formatter! text", stderr_of([&] {
                  EXPECT_EQ(NRC_FAILURE, NLogToFile(&log, 4, 1, nullptr, 1, 1, "text"));
              }));
}

TEST(LogFatalTest, FatalMessageEndsTheProcessUnlessTheLogSaysNo)
{
    EXPECT_EXIT(NLog(5, 0, nullptr, 101, 1, "stop %d", 3), ::testing::ExitedWithCode(1),
                HasSubstr("fatal: F-UNK-101-001: F-UNK-101-001: stop 3\n"));
    Handle handle("stderr");
    EXPECT_EXIT(NLogToFile(handle.log, 5, 0, nullptr, 101, 1, "stop"),
                ::testing::ExitedWithCode(1), HasSubstr(": Fatal: F-UNK-101-001: stop\n"));

    NLogFileSetFatalDoesNotExit(handle.log, 1);
    const std::string err =
        stderr_of([&] { EXPECT_EQ(0, NLogToFile(handle.log, 5, 0, nullptr, 101, 1, "go on")); });
    EXPECT_THAT(err, HasSubstr("Fatal: F-UNK-101-001: go on\n"));
    TVK_IN_FRESH_PROCESS({
        NLogMgrSetFatalDoesNotExit(1);
        stderr_of([] { EXPECT_EQ(0, NLog(5, 0, nullptr, 101, 1, "go on")); });
    });
}

TEST(LogDestinationTest, TheTextPicksModuleAndTarget)
{
    struct Row {
        const char *destination;
        const char *target;
        bool stdout_module;
    };
    const std::string too_long = "file:" + std::string(NLOG_TARGET_SIZE, 'p');
    const Row rows[] = {
        {"stdout", "stdout", true},        {"stdout:", "stdout", true},
        {"stderr", "stderr", true},        {"stderr:", "stderr", true},
        {"stdout:x", "stdout:x", false},   {"STDOUT", "STDOUT", false},
        {"system:", "", false},            {"syslog:", "", false},
        {"file://tmp/x", "/tmp/x", false}, {"syslog://x", "/x", false},
        {"file:/var/a", "/var/a", false},  {"/var/b", "/var/b", false},
        {"", "", false},                   {too_long.c_str(), "", false},
    };
    for (const Row &row : rows) {
        NLogFile log = {nullptr, 3, 0, _NLogDefaultOpen, _NLogDefaultFormat,
                        _NLogDefaultWrite, _NLogDefaultClose, nullptr};
        char target[NLOG_TARGET_SIZE];
        EXPECT_EQ(0, _NLogLoad(&log, row.destination, target));
        EXPECT_STREQ(row.target, target) << row.destination;
        EXPECT_EQ(row.stdout_module, on_stdout_module(&log)) << row.destination;
        EXPECT_EQ(&_NLogDefaultClose, log.close);
    }
    // An unknown module keeps the functions that the log has.
    Handle handle("stdout");
    char target[NLOG_TARGET_SIZE];
    EXPECT_EQ(0, _NLogLoad(handle.log, "syslog://x", target));
    EXPECT_TRUE(on_stdout_module(handle.log));
}

TEST(LogManagerTest, InitialiseForceSwitchOverrideAndShutdown)
{
    TVK_IN_FRESH_PROCESS({
        EXPECT_EQ(NRC_FAILURE, NLogModuleOverrideMsgFormat(_NLogDefaultFormat));
        setenv("NDE_FORCE_LOG_MODULE", "stderr", 1);
        setenv("NDE_DEFAULT_LOG_LEVEL", "info", 1);
        ASSERT_EQ(0, NInitialise("app", "stdout"));
        EXPECT_EQ(2U, NLogMgrGetLevel());
        EXPECT_THAT(stderr_of([] { NLog(2, 0, nullptr, 104, 1, "up"); }),
                    MatchesRegex(stamp + ": Information: I-UNK-104-001: up\n"));

        // The layout can be replaced until the next switch.
        EXPECT_EQ(0, NLogModuleOverrideMsgFormat(_NLogDefaultFormat));
        EXPECT_EQ("E-UNK-001-002: E-UNK-001-002: m\n",
                  stderr_of([] { NLog(4, 0, nullptr, 1, 2, "m"); }));
        EXPECT_EQ(0, NLogMgrSwitch("stdout:"));
        ::testing::internal::CaptureStdout();
        NLog(4, 0, nullptr, 1, 2, "m");
        EXPECT_THAT(::testing::internal::GetCapturedStdout(),
                    MatchesRegex(stamp + ": Error: E-UNK-001-002: m\n"));

        // libtvkcrypt's messages come in at info level.
        EXPECT_THAT(stderr_of([] { NLogMgrSwitch("stderr"); }), ::testing::IsEmpty());
        auto crypto = [](const char *format, ...) {
            va_list args;
            va_start(args, format);
            NLogMgrTvkcryptLogCB(format, args);
            va_end(args);
        };
        EXPECT_THAT(stderr_of([&] { crypto("libtvkcrypt: %s failed", "X"); }),
                    MatchesRegex(stamp + ": Information: I-UNK-000-000: libtvkcrypt: X failed\n"));

        // At exit the log goes back to standard error without a module.
        _NLogMgrShutdown();
        EXPECT_EQ("warn: W-UNK-001-002: W-UNK-001-002: late\n",
                  stderr_of([] { NLog(3, 0, nullptr, 1, 2, "late"); }));
    });
}

TEST(LogHeaderTest, HeaderLinesAreDebugMessagesInOrder)
{
    TVK_IN_FRESH_PROCESS({
        EXPECT_EQ(0, NLogHeaderAdd("before %d", 1)); // ignored before the log is up
        ASSERT_EQ(0, NInitialise("app", "stderr"));
        EXPECT_TRUE(stderr_of([] { NLogHeaderAdd("quiet at warn"); }).empty());
        NLogMgrSetLevel(1);
        EXPECT_THAT(stderr_of([] { NLogHeaderAdd("build %d", 42); }),
                    MatchesRegex(stamp + ": Debug: D-UNK-105-000: build 42\n"));
        EXPECT_TRUE(stderr_of([] { NLogHeaderAddNoLog("no%s", "log"); }).empty());

        const std::string err = stderr_of([] { EXPECT_EQ(0, NLogHeaderLog()); });
        const std::string prefix = stamp + ": Debug: D-UNK-105-000: ";
        const std::vector<std::string> texts = {
            "\\*\\*\\* Log Header Begin \\*\\*\\*", "ENV: LANG env var is set to \\[C.UTF-8\\]",
            "ENV: LC_ALL env var is unset",         "ENV: LC_CTYPE env var is unset",
            "ENV: TZ env var is set to \\[UTC\\]",  "quiet at warn",
            "build 42",                             "nolog",
            "\\*\\*\\* Log Header End \\*\\*\\*"};
        std::string expected;
        for (const std::string &text : texts)
            expected += prefix + text + "\n";
        EXPECT_THAT(err, MatchesRegex(expected));
    });
}

TEST(DebugFacilityTest, SelectionByTheEnvironment)
{
    struct Row {
        const char *selection; // null: unset
        const char *name;
        int32_t value;
    };
    const Row rows[] = {
        {nullptr, "timer", 1},       {"timer,clock", "timer", 1}, {"timer,clock", "clock", 0},
        {"timer, clock", "clock", 1}, {"!timer", "timer", 0},     {"!timer", "clock", 1},
        {"", "timer", 0},            {"!", "timer", 1},           {"xtimer", "timer", 0},
        {"timers", "timer", 0},      {"a!timer\tb", "timer", 1},  {",timer", "timer", 0},
        {"Timer", "timer", 0},       {"TIMER", "TIMER", 1},       {"timer2 timer", "timer", 1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.selection != nullptr ? row.selection : "(unset)") + " " +
                     row.name);
        if (row.selection != nullptr)
            setenv("NDE_DEBUG_FACILITY", row.selection, 1);
        else
            unsetenv("NDE_DEBUG_FACILITY");
        int32_t variable = 7;
        EXPECT_EQ(0, NDebugFacilityRegister(row.name, &variable));
        EXPECT_EQ(row.value, variable);
        EXPECT_EQ(0, NDebugFacilityUnregister(row.name));
    }
    unsetenv("NDE_DEBUG_FACILITY");
    // Without the environment every facility is on.
    int32_t variable = 0;
    setenv("NDE_DEBUG_FACILITY", "", 1);
    EXPECT_EQ(0, _NDebugFacilityRegister("internal", &variable, 0));
    EXPECT_EQ(1, variable);
    EXPECT_EQ(0, NDebugFacilityUnregister("INTERNAL"));
    unsetenv("NDE_DEBUG_FACILITY");
}

TEST(DebugFacilityTest, EarlierSetAndRegistrationPrevail)
{
    EXPECT_EQ(0, NDebugFacilitySet("Early", 0));
    int32_t first = 5;
    int32_t second = 5;
    EXPECT_EQ(0, NDebugFacilityRegister("EARLY", &first));
    EXPECT_EQ(0, first);
    EXPECT_EQ(0, NDebugFacilitySet("early", 3));
    EXPECT_EQ(3, first);
    EXPECT_EQ(0, NDebugFacilityRegister("early", &second)); // the first variable stays
    EXPECT_EQ(3, second);
    EXPECT_EQ(0, NDebugFacilitySet("early", 4));
    EXPECT_EQ(4, first);
    EXPECT_EQ(3, second);
    EXPECT_EQ(0, NDebugFacilityUnregister("early"));
    EXPECT_EQ(4, first);
    EXPECT_EQ(NRC_NOT_FOUND, NDebugFacilityUnregister("early"));

    // A name is held to its first 43 bytes.
    const std::string long_name(60, 'n');
    int32_t variable = 0;
    EXPECT_EQ(0, NDebugFacilityRegister(long_name.c_str(), &variable));
    EXPECT_EQ(0, NDebugFacilityUnregister(long_name.substr(0, 43).c_str()));
}

TEST(DebugFacilityTest, LibraryFacilitiesAndTheirPrint)
{
    TVK_IN_FRESH_PROCESS({
        setenv("NDE_DEBUG_FACILITY", "timer,clock thread", 1);
        ASSERT_EQ(0, NInitialise("app", "stderr"));
        EXPECT_EQ(1, libtarvolk_timer_debug);
        EXPECT_EQ(0, libtarvolk_clock_debug);
        EXPECT_EQ(1, libtarvolk_thread_debug);
        EXPECT_EQ(0, libtarvolk_arg_mgr_debug);
    });
    // Names of equal width: two fit on a line of 78 columns behind the tab.
    TVK_IN_FRESH_PROCESS({
        std::vector<std::string> names;
        for (char c = 'a'; c <= 'e'; ++c)
            names.push_back(std::string(20, c));
        for (const std::string &name : names)
            NDebugFacilitySet(name.c_str(), 1);
        const std::string err = stderr_of(NDebugFacilityPrint);
        std::string shape = "Registered debug facilities:\n\t";
        const std::string item = "[a-e]{20}\\[ON\\]";
        shape += item + ", " + item + ", \n\t" + item + ", " + item + ", \n\t" + item + "\n";
        EXPECT_THAT(err, MatchesRegex(shape));
        for (const std::string &name : names)
            EXPECT_THAT(err, HasSubstr(name));
    });
}

// Lines of several threads while the main thread moves the log between the
// two standard streams, both of which go to one file: every line arrives,
// once and whole.
TEST(LogManagerTest, SwitchWhileOtherThreadsLog)
{
    TVK_IN_FRESH_PROCESS({
        tvk_test::TempDir dir;
        const std::string path = dir.file("lines");
        const int saved_out = dup(1);
        const int saved_err = dup(2);
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        ASSERT_GE(fd, 0);
        std::fflush(stdout);
        dup2(fd, 1);
        dup2(fd, 2);

        constexpr int threads = 4;
        constexpr int lines = 1500;
        ASSERT_EQ(0, NInitialise("app", "stdout"));
        NLogMgrSetLevel(2);
        std::vector<std::thread> workers;
        for (int t = 0; t < threads; ++t)
            workers.emplace_back([t] {
                for (int n = 0; n < lines; ++n)
                    NLog(2, 0, nullptr, 104, 9, "thread %d line %d %s", t, n, "end");
            });
        for (int s = 0; s < 200; ++s)
            NLogMgrSwitch(s % 2 == 0 ? "stderr" : "stdout");
        for (std::thread &worker : workers)
            worker.join();
        std::fflush(stdout);
        dup2(saved_out, 1);
        dup2(saved_err, 2);
        close(fd);

        std::ifstream in(path);
        const std::regex shape(stamp + ": Information: I-UNK-104-009: thread ([0-9]) line "
                                       "([0-9]+) end");
        std::set<std::pair<int, int>> seen;
        std::string line;
        while (std::getline(in, line)) {
            std::smatch match;
            ASSERT_TRUE(std::regex_match(line, match, shape)) << line;
            EXPECT_TRUE(seen.emplace(std::stoi(match[1]), std::stoi(match[2])).second) << line;
        }
        EXPECT_EQ(static_cast<size_t>(threads * lines), seen.size());
    });
}

} // namespace
