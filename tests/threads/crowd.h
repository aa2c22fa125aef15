// Helpers of the lock tests: bounded polling, a crowd of threads that can be
// nudged until they have all come back, and null-argument tables.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <thread>
#include <vector>

namespace tvk_test {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// Polls pred until it holds, for at most `limit': that only bounds a failing test.
template <typename Pred> bool eventually(Pred pred, milliseconds limit = milliseconds(5000))
{
    for (const auto end = Clock::now() + limit; !pred();) {
        if (Clock::now() >= end)
            return pred();
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

inline void pause_ms(int count) { std::this_thread::sleep_for(milliseconds(count)); }

inline bool failing() { return ::testing::Test::HasFailure(); } // ends repeated rounds

inline double ms_since(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

inline bool reach(const std::atomic<int> &stage_counter, int stage)
{
    return eventually([&] { return stage_counter.load() >= stage; });
}

// `count' threads, each running body(index).
class Crowd {
public:
    template <typename Body> Crowd(int count, Body body) : count_(count)
    {
        for (int i = 0; i < count; ++i)
            threads_.emplace_back([this, body, i] {
                body(i);
                returned_.fetch_add(1);
            });
    }
    ~Crowd() { finish([] {}); }
    Crowd(const Crowd &) = delete;
    Crowd &operator=(const Crowd &) = delete;

    int returned() const { return returned_.load(); }

    // Calls nudge (a signal, a release...) until every thread has returned,
    // then joins them. Threads that never return end the process: joining
    // them would only hang the test until its time limit.
    template <typename Nudge> void finish(Nudge nudge)
    {
        if (!eventually([&] {
                nudge();
                return returned() == count_;
            })) {
            ADD_FAILURE() << count_ - returned() << " of " << count_ << " threads still blocked";
            std::fflush(stdout);
            std::_Exit(1);
        }
        for (auto &thread : threads_)
            if (thread.joinable())
                thread.join();
    }

private:
    int count_;
    std::atomic<int> returned_{0};
    std::vector<std::thread> threads_;
};

template <typename Fn> void in_thread(Fn fn) { std::thread(fn).join(); }

// A call with a null argument, its result and the result it must give.
struct NullCase {
    const char *what;
    long got, expected;
};
#define NULL_CASE(call, expected) ::tvk_test::NullCase{#call, call, expected}

inline void expect_results(std::initializer_list<NullCase> cases)
{
    for (const auto &c : cases)
        EXPECT_EQ(c.expected, c.got) << c.what;
}

} // namespace tvk_test
