#include "log/log.h"

#include <future>
#include <gmock/gmock.h>
#include <thread>
#include <utility>

#include "platform/library_life.h"

#include "unit/log/collected_log.h"

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

// What a thread that the system ends leaves behind: its first record never comes back.
class EndsFirstThread : public tests::Collector {
  public:
    void OnLogEntry(const Log::Entry& entry) override {
        if (std::exchange(ended_, true)) return tests::Collector::OnLogEntry(entry);
        reached_.set_value();
        for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
    }
    bool WaitForEnd() {
        return reached_.get_future().wait_for(tests::wait_limit) == std::future_status::ready;
    }

  private:
    bool ended_ = false;
    std::promise<void> reached_;
};

class LogTest : public testing::Test {
  protected:
    ~LogTest() override {
        Log::loaderLockMode = false;
        platform::SetEndOfLibrary(platform::LibraryEnd::unloaded);
    }

    // A log of all levels, and what one listener got of it.
    Log log_{bv::log_debug};
    std::shared_ptr<tests::Collector> collector_ = std::make_shared<tests::Collector>();
};

TEST_F(LogTest, KeepsTheOrderOfEachThread) {
    constexpr int threads = 4;
    constexpr int records = 500;
    log_.AddListener(collector_);
    std::vector<std::thread> writers;
    for (int thread = 0; thread < threads; ++thread) {
        writers.emplace_back([&, thread] {
            for (int i = 0; i < records; ++i) log_.Write("COR", 3, "%d %d", thread, i);
        });
    }
    for (auto& writer : writers) writer.join();
    ASSERT_TRUE(collector_->WaitFor(size_t{threads} * records));

    std::vector<int> next(threads, 0);
    for (const std::string& message : collector_->Messages()) {
        int thread = -1;
        int i = -1;
        ASSERT_EQ(std::sscanf(message.c_str(), "%d %d", &thread, &i), 2);
        EXPECT_EQ(next[static_cast<size_t>(thread)]++, i);
    }
}

TEST_F(LogTest, ListenersComeAndGo) {
    auto first = std::make_shared<tests::Collector>();
    auto second = std::make_shared<tests::Collector>();
    std::weak_ptr<Log::IListener> dead = std::make_shared<tests::Collector>();
    EXPECT_FALSE(log_.AddListener(dead));
    EXPECT_FALSE(log_.RemoveListener(dead));
    EXPECT_FALSE(log_.RemoveListener(first));
    EXPECT_TRUE(log_.AddListener(first));
    EXPECT_FALSE(log_.AddListener(first));
    EXPECT_TRUE(log_.AddListener(second));
    EXPECT_TRUE(log_.RemoveListener(first));
    EXPECT_TRUE(log_.IsLevelEnabled(0));
    EXPECT_TRUE(log_.RemoveListener(second));
    EXPECT_FALSE(log_.IsLevelEnabled(0));
}

TEST_F(LogTest, GoesOnBehindAListenerThatDied) {
    auto before = std::make_shared<tests::Collector>();
    auto dying = std::make_shared<tests::Collector>();
    auto after = std::make_shared<tests::Collector>();
    log_.AddListener(before);
    log_.AddListener(dying);
    log_.AddListener(after);
    dying.reset();
    log_.Write("COR", 0, "one");
    log_.Write("COR", 0, "two");
    ASSERT_TRUE(before->WaitFor(2));
    ASSERT_TRUE(after->WaitFor(2));
    EXPECT_THAT(after->Messages(), ElementsAre("one", "two"));
}

TEST_F(LogTest, RecordsWaitForTheEndOfLoading) {
    Log::loaderLockMode = true;
    log_.AddListener(collector_);
    log_.Write("COR", 0, "early");
    EXPECT_TRUE(log_.IsLevelEnabled(0));
    EXPECT_TRUE(collector_->Entries().empty());
    Log::loaderLockMode = false;
    EXPECT_TRUE(log_.IsLevelEnabled(0));
    ASSERT_TRUE(collector_->WaitFor(1));
    EXPECT_THAT(collector_->Messages(), ElementsAre("early"));
}

// The worker is alive while the library is unloaded: what it holds is written first.
TEST_F(LogTest, FlushKeepsTheOrderBesideAWorker) {
    auto gate = std::make_shared<Gate>();
    log_.AddListener(gate);
    log_.AddListener(collector_);
    log_.Write("COR", 0, "held by the worker");
    ASSERT_TRUE(gate->WaitUntilEntered());
    log_.Write("COR", 0, "queued");
    Log::loaderLockMode = true;
    auto flushed = std::async(std::launch::async, [&] { return log_.Flush(); });
    gate->Open();
    EXPECT_EQ(flushed.get(), 0u);
    EXPECT_THAT(collector_->Messages(), ElementsAre("held by the worker", "queued"));
}

TEST_F(LogTest, WaitsForNoThreadThatEndedWithTheProcess) {
    Log& log = *new Log(bv::log_debug);  // its worker keeps it
    auto listener = std::make_shared<EndsFirstThread>();
    log.AddListener(listener);
    log.Write("COR", 0, "lost with the worker");
    ASSERT_TRUE(listener->WaitForEnd());
    log.Write("COR", 0, "queued before");
    platform::SetEndOfLibrary(platform::LibraryEnd::process_ends);
    Log::loaderLockMode = true;
    log.Write("COR", 0, "queued behind");
    EXPECT_EQ(log.Flush(), 0u);
    EXPECT_THAT(listener->Messages(), ElementsAre("queued before", "queued behind"));
    EXPECT_TRUE(log.RemoveListener(listener));
    log.End();
}

}  // namespace
