// KVThreadPool: a process-wide pool of four long-lived workers for hosts.
//
// Contract: every instance shares the same four workers; the first
// instance brings them up. Each worker has one job slot and no queue: add()
// gives a job to the first idle worker or returns -1 at once; a host that
// picks its workers calls holdThreads, then addToThread for each index
// returned, then waitThread (a held worker that gets no job goes back
// through reverseHoldThread). Jobs run on the workers; the pool allocates
// its records once and frees them only at teardown. By default the workers
// live until the process ends; after setIsDestruct(true) the last instance
// to go joins them. Posting must not race teardown. Failures of the
// threading primitives print one bare line to standard output and mark the
// worker unusable. Results: 0 on success, -1 otherwise.
#ifndef KLAV_KVTHREADPOOL_H
#define KLAV_KVTHREADPOOL_H

#include "klav_export.h"

#include <atomic>
#include <pthread.h>
#include <semaphore.h>

namespace klav {

// One worker's record.
struct KLAV_API KVThreadPoolExParams {
    KVThreadPoolExParams();
    ~KVThreadPoolExParams();
    KVThreadPoolExParams(const KVThreadPoolExParams &) = delete;
    KVThreadPoolExParams &operator=(const KVThreadPoolExParams &) = delete;

    pthread_mutex_t mutex;  // guards the wait on cond and the posting of a job
    pthread_cond_t cond;    // the worker sleeps on it
    // 0 while sound; 1 asks the worker to stop and marks it unusable. Read
    // by the worker after a wake-up and written by other threads, hence
    // atomic.
    std::atomic<int> failed;
    int index;  // 0 to 3
    // Held while the worker is not waiting for work; whoever holds it may
    // give the worker a job. The caller takes it and the worker releases
    // it, so it is a semaphore of count one: a mutex may not be released by
    // another thread.
    sem_t idleToken;
    void *(*routine)(void *);  // the job, null when there is none
    void *routineArg;
    bool started;  // the worker thread exists and can be joined
};

class KLAV_API KVThreadPool {
public:
    KVThreadPool();
    ~KVThreadPool();

    // Whether the last instance to go tears the workers down.
    void setIsDestruct(bool destruct);
    // Gives the job to the first idle worker: 0 posted, -1 none idle.
    int add(void *(*routine)(void *), void *arg);
    // Reserves idle workers among the first min(n, 4), writes their numbers
    // to indices (room for min(n, 4) entries) and returns how many.
    int holdThreads(int n, int *indices);
    // Gives the job to a worker the caller holds: 0, or -1.
    int addToThread(void *(*routine)(void *), void *arg, int index);
    // Gives back a reservation that got no job: 0, or -1 for a bad index
    // or a worker that is not held.
    int reverseHoldThread(int index);
    // Blocks until that worker is idle: 0, or -1.
    int waitThread(int index);
    // Blocks until every sound worker is idle: 0, or -1 when any failed.
    int waitAll();

    // Fixed answers: the pool always has four workers.
    static int getCPUConfigured();
    static int getCPUOnline();

    static pthread_mutex_t m_lock;
    static pthread_t *m_threads;
    static KVThreadPoolExParams *m_threadpoolExParams;
    static int m_instanceCount;
    static bool m_autoDestructInstance;

private:
    int m_threadCount;
};

// The pool's fixed worker count, 4.
KLAV_API int GetCPUCores();

}  // namespace klav

#endif
