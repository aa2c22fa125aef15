// The log manager beside spdlog: a dropped message against an empty
// function call, and a written line to standard error (redirected to a
// file, flushed at every line) through the default module and through the
// stdout module, against spdlog's synchronous standard error logger that
// flushes every line.
#include <tarvolk/log.h>

#include <benchmark/benchmark.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

__attribute__((noinline)) int empty_call(int level, const char *text)
{
    benchmark::DoNotOptimize(text);
    return level;
}

void BM_EmptyFunctionCall(benchmark::State &state)
{
    int (*volatile call)(int, const char *) = empty_call;
    for (auto _ : state)
        benchmark::DoNotOptimize(call(NLOG_INFO, "dropped %d"));
}
BENCHMARK(BM_EmptyFunctionCall);

// The process-wide log is at warn: an info message is dropped.
void BM_NLogDropped(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(NLog(NLOG_INFO, 1, nullptr, 104, 1, "dropped %d", 42));
}
BENCHMARK(BM_NLogDropped);

// A debug message with its facility off, the log at debug level.
void BM_NLogDebugFlagOff(benchmark::State &state)
{
    NLogMgrSetLevel(NLOG_DEBUG);
    for (auto _ : state)
        benchmark::DoNotOptimize(NLog(NLOG_DEBUG, 0, nullptr, 105, 1, "dropped %d", 42));
    NLogMgrSetLevel(NLOG_WARN);
}
BENCHMARK(BM_NLogDebugFlagOff);

void BM_SpdlogDropped(benchmark::State &state)
{
    auto logger = spdlog::stderr_logger_st("bench_dropped");
    logger->set_level(spdlog::level::warn);
    for (auto _ : state)
        logger->info("dropped {}", 42);
    spdlog::drop("bench_dropped");
}
BENCHMARK(BM_SpdlogDropped);

// The process-wide log before NInitialise: the default module, no lock.
void BM_NLogLineDefaultModule(benchmark::State &state)
{
    for (auto _ : state)
        NLog(NLOG_ERROR, 1, nullptr, 102, 7, "request %d failed: %s", 1234, "timeout");
}
BENCHMARK(BM_NLogLineDefaultModule);

// A log handle on the stdout module ("stderr"): time stamp, level word,
// write under the handle's mutex, flush.
void BM_NLogLineStdoutModule(benchmark::State &state)
{
    NLogFile *log = nullptr;
    NLogFileOpen("stderr", &log);
    for (auto _ : state)
        NLogToFile(log, NLOG_ERROR, 1, nullptr, 102, 7, "request %d failed: %s", 1234, "timeout");
    NLogFileClose(log);
}
BENCHMARK(BM_NLogLineStdoutModule);

// spdlog's synchronous logger with its default layout (time stamp with
// milliseconds, logger name, level), flushed after every line.
template <typename Sink> void spdlog_line(benchmark::State &state, const char *name)
{
    auto logger = std::make_shared<spdlog::logger>(name, std::make_shared<Sink>());
    logger->flush_on(spdlog::level::trace);
    for (auto _ : state)
        logger->error("request {} failed: {}", 1234, "timeout");
}

void BM_SpdlogLineSingleThreaded(benchmark::State &state)
{
    spdlog_line<spdlog::sinks::stderr_sink_st>(state, "bench_st");
}
BENCHMARK(BM_SpdlogLineSingleThreaded);

void BM_SpdlogLineMultiThreaded(benchmark::State &state)
{
    spdlog_line<spdlog::sinks::stderr_sink_mt>(state, "bench_mt");
}
BENCHMARK(BM_SpdlogLineMultiThreaded);

} // namespace

// Standard error goes to a scratch file for the whole run, so that lines
// cost a real write and the results on standard output stay readable.
int main(int argc, char **argv)
{
    char path[] = "/tmp/bench_log.XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0) {
        std::perror("mkstemp");
        return 1;
    }
    const int saved = dup(2);
    dup2(fd, 2);
    close(fd);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    dup2(saved, 2);
    close(saved);
    unlink(path);
    return 0;
}
