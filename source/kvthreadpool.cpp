// KVThreadPool: four workers with one job slot each and an idle token per
// worker that the poster takes and the worker gives back.
#include "kvthreadpool.h"

#include <cstdio>

namespace klav {

pthread_mutex_t KVThreadPool::m_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_t *KVThreadPool::m_threads = nullptr;
KVThreadPoolExParams *KVThreadPool::m_threadpoolExParams = nullptr;
int KVThreadPool::m_instanceCount = 0;
bool KVThreadPool::m_autoDestructInstance = false;

namespace {

const int kWorkers = 4;

void Say(const char *line) {
    std::fputs(line, stdout);
    std::fflush(stdout);
}

// Marks the worker unusable and prints the failed primitive's line.
void Fail(KVThreadPoolExParams &p, const char *line) {
    p.failed = 1;
    Say(line);
}

void *WorkerLoop(void *arg) {
    KVThreadPoolExParams &p = *static_cast<KVThreadPoolExParams *>(arg);
    if (p.failed == 1) return nullptr;
    for (;;) {
        if (pthread_mutex_lock(&p.mutex) != 0) {
            Fail(p, "kvthreadpool_thread failed of pthread_mutex_lock\n");
            return nullptr;
        }
        // Declared idle while the mutex is still held: a poster who takes
        // the token then blocks on the mutex until this worker really
        // sleeps, so its signal cannot be lost.
        if (sem_post(&p.idleToken) != 0) {
            Fail(p, "kvthreadpool_thread failed of pthread_mutex_unlock\n");
            pthread_mutex_unlock(&p.mutex);
            return nullptr;
        }
        // A wake-up with no job and no stop request is spurious: wait again
        // without giving back a token that nobody took.
        while (p.routine == nullptr && p.failed == 0) {
            if (pthread_cond_wait(&p.cond, &p.mutex) != 0) {
                Fail(p, "kvthreadpool_thread failed of pthread_cond_wait\n");
                pthread_mutex_unlock(&p.mutex);
                return nullptr;
            }
        }
        void *(*job)(void *) = p.routine;
        void *jobArg = p.routineArg;
        if (pthread_mutex_unlock(&p.mutex) != 0) {
            Fail(p, "kvthreadpool_thread failed of pthread_mutex_unlock\n");
            return nullptr;
        }
        if (p.failed) return nullptr;
        if (job) job(jobArg);
        p.routine = nullptr;
        if (p.failed) return nullptr;
    }
}

bool ValidIndex(int index, int count) { return index >= 0 && index < count; }

}  // namespace

KVThreadPoolExParams::KVThreadPoolExParams()
    : failed(0), index(0), routine(nullptr), routineArg(nullptr), started(false) {
    bool ok = sem_init(&idleToken, 0, 1) == 0;
    ok = pthread_mutex_init(&mutex, nullptr) == 0 && ok;
    ok = pthread_cond_init(&cond, nullptr) == 0 && ok;
    if (!ok) {
        Say("KVThreadpoolExParameter error\n");
        failed = 1;
    }
}

KVThreadPoolExParams::~KVThreadPoolExParams() {
    if (sem_destroy(&idleToken) != 0) Say("~KVThreadPoolExParams failed of pthread_mutex_destroy\n");
    if (pthread_mutex_destroy(&mutex) != 0) Say("~KVThreadPoolExParams failed of pthread_mutex_destroy\n");
    if (pthread_cond_destroy(&cond) != 0) Say("~KVThreadPoolExParams failed of pthread_cond_destroy\n");
}

KVThreadPool::KVThreadPool() : m_threadCount(kWorkers) {
    if (pthread_mutex_lock(&m_lock) != 0) {
        Say("KVThreadPool failed of pthread_mutex_lock\n");
        return;
    }
    if (!m_threads && !m_threadpoolExParams) {
        m_threads = new pthread_t[kWorkers]();
        m_threadpoolExParams = new KVThreadPoolExParams[kWorkers];
        for (int i = 0; i < kWorkers; ++i) {
            KVThreadPoolExParams &p = m_threadpoolExParams[i];
            if (p.failed == 1) continue;
            p.index = i;
            // Starting: the token stays with the creator until the worker
            // first declares itself idle.
            if (sem_wait(&p.idleToken) != 0) {
                Fail(p, "KVThreadPool failed of pthread_mutex_lock\n");
                continue;
            }
            if (pthread_create(&m_threads[i], nullptr, WorkerLoop, &p) != 0) {
                Fail(p, "KVThreadPool failed of pthread_create\n");
                continue;
            }
            p.started = true;
        }
    }
    ++m_instanceCount;
    if (pthread_mutex_unlock(&m_lock) != 0) Say("KVThreadPool failed of pthread_mutex_unlock\n");
}

KVThreadPool::~KVThreadPool() {
    if (pthread_mutex_lock(&m_lock) != 0) {
        Say("~KVThreadPool failed of pthread_mutex_lock\n");
        return;
    }
    const int before = m_instanceCount--;
    if (before == 1 && m_autoDestructInstance && m_threads && m_threadpoolExParams) {
        for (int i = 0; i < kWorkers; ++i) {
            KVThreadPoolExParams &p = m_threadpoolExParams[i];
            p.failed = 1;
            bool join = p.started;
            if (pthread_mutex_lock(&p.mutex) != 0) {
                Say("~KVThreadPool failed of pthread_mutex_lock\n");
                continue;
            }
            if (pthread_cond_signal(&p.cond) != 0) {
                Say("~KVThreadPool failed of pthread_cond_signal\n");
                join = false;
            }
            if (pthread_mutex_unlock(&p.mutex) != 0) {
                Say("~KVThreadPool failed of pthread_mutex_unlock\n");
                join = false;
            }
            if (join && pthread_join(m_threads[i], nullptr) != 0) Say("~KVThreadPool failed of pthread_join\n");
        }
        delete[] m_threads;
        m_threads = nullptr;
        delete[] m_threadpoolExParams;
        m_threadpoolExParams = nullptr;
    }
    pthread_mutex_unlock(&m_lock);
}

void KVThreadPool::setIsDestruct(bool destruct) {
    if (pthread_mutex_lock(&m_lock) != 0) {
        Say("setIsDestruct failed of pthread_mutex_lock\n");
        return;
    }
    m_autoDestructInstance = destruct;
    if (pthread_mutex_unlock(&m_lock) != 0) Say("setIsDestruct failed of pthread_mutex_unlock\n");
}

namespace {
// Stores the job under the worker's mutex and wakes it. `where` names the
// operation in the failure lines.
int Post(KVThreadPoolExParams &p, void *(*routine)(void *), void *arg, bool add) {
    if (pthread_mutex_lock(&p.mutex) != 0) {
        Fail(p, add ? "add failed of pthread_mutex_lock\n" : "addToThread failed of pthread_mutex_lock\n");
        return -1;
    }
    p.routine = routine;
    p.routineArg = arg;
    int result = 0;
    if (pthread_cond_signal(&p.cond) != 0) {
        Fail(p, add ? "add failed of pthread_cond_signal\n" : "addToThread failed of pthread_cond_signal\n");
        result = -1;
    }
    if (pthread_mutex_unlock(&p.mutex) != 0) {
        Fail(p, add ? "add failed of pthread_mutex_unlock\n" : "addToThread failed of pthread_mutex_unlock\n");
        result = -1;
    }
    return result;
}
}  // namespace

int KVThreadPool::add(void *(*routine)(void *), void *arg) {
    if (!routine || !m_threads || !m_threadpoolExParams) return -1;
    int result = -1;
    // Lower numbers are preferred; the bound is the pool's four workers.
    for (int i = 0; i < kWorkers; ++i) {
        KVThreadPoolExParams &p = m_threadpoolExParams[i];
        if (p.failed) continue;
        if (sem_trywait(&p.idleToken) != 0) continue;  // busy
        result = Post(p, routine, arg, true);
        if (result == 0) return 0;  // the worker gives the token back when done
        sem_post(&p.idleToken);
    }
    return result;
}

int KVThreadPool::holdThreads(int n, int *indices) {
    if (!m_threads || !m_threadpoolExParams || !indices) return 0;
    const int look = n < kWorkers ? n : kWorkers;
    int count = 0;
    // Only the first min(n, 4) workers are looked at; callers go by the count.
    for (int i = 0; i < look; ++i) {
        KVThreadPoolExParams &p = m_threadpoolExParams[i];
        if (p.failed) continue;
        if (sem_trywait(&p.idleToken) == 0) indices[count++] = i;
    }
    return count;
}

int KVThreadPool::addToThread(void *(*routine)(void *), void *arg, int index) {
    if (!routine || !ValidIndex(index, m_threadCount) || !m_threads || !m_threadpoolExParams) return -1;
    return Post(m_threadpoolExParams[index], routine, arg, false);
}

int KVThreadPool::reverseHoldThread(int index) {
    if (!ValidIndex(index, m_threadCount) || !m_threads || !m_threadpoolExParams) return -1;
    KVThreadPoolExParams &p = m_threadpoolExParams[index];
    // A token that is free is held by nobody: giving it back twice would
    // let two posters in.
    int value = 0;
    if (sem_getvalue(&p.idleToken, &value) == 0 && value > 0) return -1;
    if (sem_post(&p.idleToken) != 0) Fail(p, "reverseHoldThread failed of pthread_mutex_unlock\n");
    return 0;
}

namespace {
// Takes and gives back a sound worker's token, which waits until it is idle.
int WaitIdle(KVThreadPoolExParams &p, const char *lockLine, const char *unlockLine) {
    if (p.failed == 0 && sem_wait(&p.idleToken) != 0) {
        Fail(p, lockLine);
        return -1;
    }
    if (p.failed) return 0;  // a failed worker keeps its token
    if (sem_post(&p.idleToken) != 0) {
        Fail(p, unlockLine);
        return -1;
    }
    return 0;
}
}  // namespace

int KVThreadPool::waitThread(int index) {
    if (!ValidIndex(index, m_threadCount) || !m_threads || !m_threadpoolExParams) return -1;
    return WaitIdle(m_threadpoolExParams[index], "waitThread failed of pthread_mutex_lock\n",
                    "waitThread failed of pthread_mutex_unlock\n");
}

int KVThreadPool::waitAll() {
    if (!m_threads || !m_threadpoolExParams) return -1;
    int result = 0;
    for (int i = 0; i < m_threadCount; ++i) {
        if (WaitIdle(m_threadpoolExParams[i], "waitAll failed of pthread_mutex_lock\n",
                     "waitAll failed of pthread_mutex_unlock\n") != 0 ||
            m_threadpoolExParams[i].failed)
            result = -1;
    }
    return result;
}

int KVThreadPool::getCPUConfigured() { return kWorkers; }
int KVThreadPool::getCPUOnline() { return kWorkers; }
int GetCPUCores() { return kWorkers; }

}  // namespace klav
