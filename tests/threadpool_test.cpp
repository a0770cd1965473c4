// The process-wide worker pool: posting, holds, waits and teardown.
#include "kvthreadpool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

using klav::KVThreadPool;

namespace {

// A gate that blocks jobs until it is opened.
struct Gate {
    std::mutex m;
    std::condition_variable cv;
    bool open = false;
    std::atomic<int> entered{0};
    std::atomic<int> finished{0};
    void Open() {
        std::lock_guard<std::mutex> lock(m);
        open = true;
        cv.notify_all();
    }
    static void *Job(void *arg) {
        Gate *g = static_cast<Gate *>(arg);
        g->entered++;
        std::unique_lock<std::mutex> lock(g->m);
        g->cv.wait(lock, [g] { return g->open; });
        g->finished++;
        return nullptr;
    }
    void WaitEntered(int n) {
        for (int i = 0; i < 2000 && entered < n; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
};

std::atomic<int> g_counter{0};
void *Count(void *) {
    g_counter++;
    return nullptr;
}

// Each test leaves the pool without automatic teardown.
struct Pool : ::testing::Test {
    void TearDown() override {
        KVThreadPool p;
        p.waitAll();
        p.setIsDestruct(false);
    }
};

}  // namespace

TEST_F(Pool, FixedAnswersAndBadArguments) {
    KVThreadPool pool;
    EXPECT_EQ(KVThreadPool::getCPUConfigured(), 4);
    EXPECT_EQ(KVThreadPool::getCPUOnline(), 4);
    EXPECT_EQ(klav::GetCPUCores(), 4);
    int idx[4] = {-1, -1, -1, -1};
    EXPECT_EQ(pool.add(nullptr, nullptr), -1);
    EXPECT_EQ(pool.holdThreads(0, idx), 0);
    EXPECT_EQ(pool.holdThreads(-1, idx), 0);
    EXPECT_EQ(pool.addToThread(Count, nullptr, 4), -1);
    EXPECT_EQ(pool.addToThread(Count, nullptr, -1), -1);
    EXPECT_EQ(pool.waitThread(4), -1);
    EXPECT_EQ(pool.waitThread(-1), -1);
    EXPECT_EQ(pool.reverseHoldThread(4), -1);
    EXPECT_EQ(idx[0], -1);
    ASSERT_EQ(pool.waitAll(), 0);
    // A worker nobody holds cannot be given back.
    EXPECT_EQ(pool.reverseHoldThread(0), -1);
}

TEST_F(Pool, AddRunsJobsAndRefusesWhenAllAreBusy) {
    KVThreadPool pool;
    ASSERT_EQ(pool.waitAll(), 0);  // past the starting state
    g_counter = 0;
    int posted = 0;
    for (int i = 0; i < 200; ++i) {
        if (pool.add(Count, nullptr) == 0) ++posted;
        if (i % 10 == 9) pool.waitAll();
    }
    ASSERT_EQ(pool.waitAll(), 0);
    EXPECT_EQ(g_counter, posted);
    EXPECT_GT(posted, 0);

    Gate gate;
    for (int i = 0; i < 4; ++i) ASSERT_EQ(pool.add(Gate::Job, &gate), 0) << i;
    gate.WaitEntered(4);
    auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(pool.add(Count, nullptr), -1);  // no queue: refused at once
    EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(500));
    gate.Open();
    ASSERT_EQ(pool.waitAll(), 0);
    EXPECT_EQ(gate.finished, 4);
}

TEST_F(Pool, HoldsLookOnlyAtTheFirstWorkers) {
    KVThreadPool pool;
    ASSERT_EQ(pool.waitAll(), 0);
    Gate gate;
    int idx[4];
    ASSERT_EQ(pool.holdThreads(1, idx), 1);
    ASSERT_EQ(idx[0], 0);
    ASSERT_EQ(pool.addToThread(Gate::Job, &gate, 0), 0);
    gate.WaitEntered(1);
    // Worker 0 is busy: a request for one worker finds none, though 1..3 idle.
    EXPECT_EQ(pool.holdThreads(1, idx), 0);
    int many[4] = {-1, -1, -1, -1};
    int held = pool.holdThreads(9, many);
    EXPECT_EQ(held, 3);
    EXPECT_EQ(many[0], 1);
    EXPECT_EQ(many[2], 3);
    for (int i = 0; i < held; ++i) EXPECT_EQ(pool.reverseHoldThread(many[i]), 0);
    gate.Open();
    EXPECT_EQ(pool.waitThread(0), 0);
    EXPECT_EQ(gate.finished, 1);

    // Hold, post on the chosen workers, wait on them.
    g_counter = 0;
    held = pool.holdThreads(4, many);
    ASSERT_EQ(held, 4);
    for (int i = 0; i < held; ++i) ASSERT_EQ(pool.addToThread(Count, nullptr, many[i]), 0);
    for (int i = 0; i < held; ++i) EXPECT_EQ(pool.waitThread(many[i]), 0);
    EXPECT_EQ(g_counter, 4);
}

TEST_F(Pool, WaitThreadReallyWaits) {
    KVThreadPool pool;
    ASSERT_EQ(pool.waitAll(), 0);
    Gate gate;
    int idx[1];
    ASSERT_EQ(pool.holdThreads(1, idx), 1);
    ASSERT_EQ(pool.addToThread(Gate::Job, &gate, 0), 0);
    gate.WaitEntered(1);
    std::thread opener([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        gate.Open();
    });
    EXPECT_EQ(pool.waitThread(0), 0);
    EXPECT_EQ(gate.finished, 1);
    opener.join();
}

TEST_F(Pool, TeardownFollowsTheDestructFlag) {
    // Without the flag the workers outlive the last instance and are reused.
    pthread_t first;
    {
        KVThreadPool a;
        ASSERT_NE(KVThreadPool::m_threads, nullptr);
        first = KVThreadPool::m_threads[0];
    }
    EXPECT_NE(KVThreadPool::m_threads, nullptr);
    {
        KVThreadPool b;
        EXPECT_TRUE(pthread_equal(first, KVThreadPool::m_threads[0]));
        EXPECT_EQ(KVThreadPool::m_instanceCount, 1);
    }
    EXPECT_EQ(KVThreadPool::m_instanceCount, 0);

    // With the flag and two instances, the first to go does nothing and the
    // second joins all four workers.
    {
        KVThreadPool *x = new KVThreadPool(), *y = new KVThreadPool();
        x->setIsDestruct(true);
        ASSERT_EQ(x->waitAll(), 0);
        delete x;
        EXPECT_NE(KVThreadPool::m_threads, nullptr);
        g_counter = 0;
        EXPECT_EQ(y->add(Count, nullptr), 0);
        y->waitAll();
        EXPECT_EQ(g_counter, 1);
        delete y;
        EXPECT_EQ(KVThreadPool::m_threads, nullptr);
        EXPECT_EQ(KVThreadPool::m_threadpoolExParams, nullptr);
    }
    // Posting with no pool answers -1; a new instance brings four new workers.
    KVThreadPool none;  // constructs a fresh pool
    EXPECT_NE(KVThreadPool::m_threads, nullptr);
    ASSERT_EQ(none.waitAll(), 0);
    g_counter = 0;
    for (int i = 0; i < 4; ++i) EXPECT_EQ(none.add(Count, nullptr), 0) << i;
    none.waitAll();
    EXPECT_EQ(g_counter, 4);
}
