#include "log/log.h"

#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "unit/log/collected_log.h"

using bv::LoaderLockGuard;
using bv::Log;
using testing::ElementsAre;

namespace {

// Holds the dispatching thread until it is let go.
class Gate : public Log::IListener {
  public:
    void OnLogEntry(const Log::Entry&) override {
        if (!passed_) entered_.set_value();
        passed_ = true;
        open_.get_future().wait_for(tests::wait_limit);
        open_ = {};
        open_.set_value();
    }
    bool WaitUntilEntered() {
        return entered_.get_future().wait_for(tests::wait_limit) == std::future_status::ready;
    }
    void Open() { open_.set_value(); }

  private:
    bool passed_ = false;
    std::promise<void> entered_;
    std::promise<void> open_;
};

class LoaderLock : public testing::Test {
  protected:
    ~LoaderLock() override { Log::loaderLockMode = false; }
};

TEST(Log, WithoutListenerKeepsNothing) {
    Log log(bv::log_debug);
    EXPECT_FALSE(log.IsLevelEnabled(bv::log_error));
    log.Write("COR", bv::log_error, "lost");
    EXPECT_EQ(log.Flush(), 0u);

    auto collector = std::make_shared<tests::Collector>();
    log.AddListener(collector);
    log.Write("COR", bv::log_error, "kept %d", 1);
    ASSERT_TRUE(collector->WaitFor(1));
    EXPECT_THAT(collector->Messages(), ElementsAre("kept 1"));
}

TEST(Log, PassesRecordsUpToItsLevel) {
    for (int32_t level = -1; level <= 4; ++level) {
        Log log(level);
        auto collector = std::make_shared<tests::Collector>();
        log.AddListener(collector);
        for (int32_t record = 0; record <= 4; ++record) {
            EXPECT_EQ(log.IsLevelEnabled(record), record <= level);
            log.Write("COR", record, "%d", record);
        }
        ASSERT_TRUE(collector->WaitFor(static_cast<size_t>(level + 1)));
        log.Flush();
        EXPECT_EQ(collector->Entries().size(), static_cast<size_t>(level + 1));
    }
}

TEST(Log, KeepsTheOrderOfEachThread) {
    constexpr int threads = 4;
    constexpr int records = 500;
    Log log(bv::log_debug);
    auto collector = std::make_shared<tests::Collector>();
    log.AddListener(collector);
    std::vector<std::thread> writers;
    for (int thread = 0; thread < threads; ++thread) {
        writers.emplace_back([&, thread] {
            for (int i = 0; i < records; ++i) log.Write("COR", 3, "%d %d", thread, i);
        });
    }
    for (auto& writer : writers) writer.join();
    ASSERT_TRUE(collector->WaitFor(size_t{threads} * records));

    std::vector<int> next(threads, 0);
    for (const std::string& message : collector->Messages()) {
        int thread = -1;
        int i = -1;
        ASSERT_EQ(std::sscanf(message.c_str(), "%d %d", &thread, &i), 2);
        EXPECT_EQ(next[static_cast<size_t>(thread)]++, i);
    }
}

TEST(Log, RecordsWhatBelongsToTheWritingThread) {
    Log log(bv::log_debug);
    auto collector = std::make_shared<tests::Collector>();
    log.AddListener(collector);
    log.IncreaseIndent();
    log.IncreaseIndent();
    log.Write("COR", 3, "here");
    std::thread([&] { log.Write("COR", 3, "there"); }).join();
    ASSERT_TRUE(collector->WaitFor(2));
    const auto entries = collector->Entries();
    EXPECT_EQ(entries[0].indent, 2);
    EXPECT_EQ(entries[1].indent, 0);
    EXPECT_NE(entries[0].threadId, entries[1].threadId);
    EXPECT_EQ(entries[0].processId, entries[1].processId);
}

TEST(Log, DepthBelongsToThreadAndLog) {
    Log first(3);
    Log second(3);
    first.IncreaseIndent();
    first.IncreaseIndent();
    second.IncreaseIndent();
    EXPECT_EQ(first.GetIndent(), 2);
    EXPECT_EQ(second.GetIndent(), 1);
    std::thread([&] {
        EXPECT_EQ(first.GetIndent(), 0);
        EXPECT_FALSE(first.DecreaseIndent());
    }).join();
    EXPECT_TRUE(second.DecreaseIndent());
    EXPECT_FALSE(second.DecreaseIndent());
    EXPECT_EQ(first.GetIndent(), 2);
}

TEST(Log, FlushThrowsAwayWhatTheWorkerCantWriteInASecond) {
    auto gate = std::make_shared<Gate>();
    auto collector = std::make_shared<tests::Collector>();
    {
        Log log(bv::log_debug);
        log.AddListener(gate);
        log.AddListener(collector);
        log.Write("COR", 0, "being written");
        ASSERT_TRUE(gate->WaitUntilEntered());
        for (int i = 0; i < 5; ++i) log.Write("COR", 0, "waiting");
        EXPECT_EQ(log.Flush(), 5u);
        EXPECT_EQ(log.Flush(), 0u);
        gate->Open();
        ASSERT_TRUE(collector->WaitFor(1));
    }
    EXPECT_THAT(collector->Messages(), ElementsAre("being written"));
}

TEST(Log, FlushWaitsForTheQueue) {
    Log log(bv::log_debug);
    auto collector = std::make_shared<tests::Collector>();
    log.AddListener(collector);
    for (int i = 0; i < 1000; ++i) log.Write("COR", 0, "%d", i);
    EXPECT_EQ(log.Flush(), 0u);
    EXPECT_TRUE(collector->WaitFor(1000));
}

TEST_F(LoaderLock, LogEndsWithRecordsUnwritten) {
    auto gate = std::make_shared<Gate>();
    auto collector = std::make_shared<tests::Collector>();
    auto log = std::make_unique<Log>(bv::log_debug);
    log->AddListener(gate);
    log->AddListener(collector);
    log->Write("COR", 0, "being written");
    ASSERT_TRUE(gate->WaitUntilEntered());
    log->Write("COR", 0, "unwritten");
    Log::loaderLockMode = true;  // keeps the worker from the queue
    gate->Open();
    log.reset();
    EXPECT_THAT(collector->Messages(), ElementsAre("being written"));
}

TEST(Log, ListenersComeAndGo) {
    Log log(bv::log_debug);
    auto first = std::make_shared<tests::Collector>();
    auto second = std::make_shared<tests::Collector>();
    std::weak_ptr<Log::IListener> dead = std::make_shared<tests::Collector>();
    EXPECT_FALSE(log.AddListener(dead));
    EXPECT_FALSE(log.RemoveListener(dead));
    EXPECT_FALSE(log.RemoveListener(first));
    EXPECT_TRUE(log.AddListener(first));
    EXPECT_FALSE(log.AddListener(first));
    EXPECT_TRUE(log.AddListener(second));
    EXPECT_TRUE(log.RemoveListener(first));
    EXPECT_TRUE(log.IsLevelEnabled(0));
    EXPECT_TRUE(log.RemoveListener(second));
    EXPECT_FALSE(log.IsLevelEnabled(0));
}

TEST(Log, GoesOnBehindAListenerThatDied) {
    Log log(bv::log_debug);
    auto before = std::make_shared<tests::Collector>();
    auto dying = std::make_shared<tests::Collector>();
    auto after = std::make_shared<tests::Collector>();
    log.AddListener(before);
    log.AddListener(dying);
    log.AddListener(after);
    dying.reset();
    log.Write("COR", 0, "one");
    log.Write("COR", 0, "two");
    ASSERT_TRUE(before->WaitFor(2));
    ASSERT_TRUE(after->WaitFor(2));
    EXPECT_THAT(after->Messages(), ElementsAre("one", "two"));
}

TEST_F(LoaderLock, RecordsWaitForTheEndOfLoading) {
    Log log(bv::log_debug);
    auto collector = std::make_shared<tests::Collector>();
    Log::loaderLockMode = true;
    log.AddListener(collector);
    log.Write("COR", 0, "early");
    EXPECT_TRUE(log.IsLevelEnabled(0));
    EXPECT_TRUE(collector->Entries().empty());
    Log::loaderLockMode = false;
    EXPECT_TRUE(log.IsLevelEnabled(0));
    ASSERT_TRUE(collector->WaitFor(1));
    EXPECT_THAT(collector->Messages(), ElementsAre("early"));
}

TEST_F(LoaderLock, FlushWritesOnTheCallingThread) {
    class ThreadNoter : public Log::IListener {
      public:
        void OnLogEntry(const Log::Entry&) override {
            threads.push_back(std::this_thread::get_id());
        }
        std::vector<std::thread::id> threads;
    };
    Log log(bv::log_debug);
    auto noter = std::make_shared<ThreadNoter>();
    log.AddListener(noter);
    Log::loaderLockMode = true;
    log.Write("COR", 0, "one");
    log.Write("COR", 0, "two");
    EXPECT_EQ(log.Flush(), 0u);
    EXPECT_THAT(noter->threads,
                ElementsAre(std::this_thread::get_id(), std::this_thread::get_id()));
}

// The worker is alive while the library is unloaded: what it holds is written first.
TEST_F(LoaderLock, FlushKeepsTheOrderBesideAWorker) {
    auto gate = std::make_shared<Gate>();
    auto collector = std::make_shared<tests::Collector>();
    Log log(bv::log_debug);
    log.AddListener(gate);
    log.AddListener(collector);
    log.Write("COR", 0, "held by the worker");
    ASSERT_TRUE(gate->WaitUntilEntered());
    log.Write("COR", 0, "queued");
    Log::loaderLockMode = true;
    auto flushed = std::async(std::launch::async, [&] { return log.Flush(); });
    gate->Open();
    EXPECT_EQ(flushed.get(), 0u);
    EXPECT_THAT(collector->Messages(), ElementsAre("held by the worker", "queued"));
}

struct GuardCase {
    int32_t phase;
    uint32_t initial;
    bool before, during, after;
};

class LoaderLockPhases : public testing::TestWithParam<GuardCase> {};

TEST_P(LoaderLockPhases, SetTheMode) {
    const GuardCase& c = GetParam();
    Log::loaderLockMode = c.before;
    {
        LoaderLockGuard guard(c.phase, c.initial);
        EXPECT_EQ(Log::loaderLockMode, c.during);
        Log::loaderLockMode = false;
    }
    EXPECT_EQ(Log::loaderLockMode, c.after);
}

INSTANTIATE_TEST_SUITE_P(
    All, LoaderLockPhases,
    testing::Values(GuardCase{0, 0, false, true, true}, GuardCase{0, 1, false, true, true},
                    GuardCase{1, 0, true, false, true}, GuardCase{1, 1, true, true, true},
                    GuardCase{1, 1, false, false, true}, GuardCase{2, 0, true, true, false}));

}  // namespace
