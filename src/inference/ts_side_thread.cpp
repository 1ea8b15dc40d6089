// The helper thread behind TsRunBeside (see ts_side_thread.h).
//
// The helper waits on a condition variable for one job at a time. Whoever
// wins the `busy` flag owns it until its job is back; everyone else works
// alone. The helper is made once per process and never destroyed: it sleeps
// through exit, so no destructor has to join it while static objects go
// away, and a child made by fork, which inherits the state but not the
// thread, makes a helper of its own.
#include "inference/ts_side_thread.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

struct Helper {
    std::atomic<bool> busy{false};
    std::mutex lock;
    std::condition_variable wake;
    std::condition_variable finished;
    void (*job)(void*) = nullptr;
    void* arg = nullptr;
    bool done = false;

    Helper() { std::thread([this] { Serve(); }).detach(); }

    Helper* before = nullptr;  // a helper inherited through fork, kept reachable

    void Serve() {
        for (;;) {
            void (*run)(void*) = nullptr;
            void* with = nullptr;
            {
                std::unique_lock<std::mutex> hold(lock);
                wake.wait(hold, [this] { return job != nullptr; });
                run = job;
                with = arg;
            }
            run(with);
            {
                std::lock_guard<std::mutex> hold(lock);
                job = nullptr;
                done = true;
            }
            finished.notify_one();
        }
    }
};

std::mutex makeLock;
Helper* helper = nullptr;
pid_t helperPid = 0;

// Whether the helper may be used: not on a single core, nor when the
// environment variable ORVIL_THREADS says "1" (a server that runs many
// updates side by side has no core to spare for it).
bool HelperAllowed() {
    const char* threads = std::getenv("ORVIL_THREADS");
    if (threads != nullptr && std::strcmp(threads, "1") == 0) return false;
    return std::thread::hardware_concurrency() > 1;
}

// The process's helper, made on first use; null when it is not allowed.
Helper* GetHelper() {
    static const bool allowed = HelperAllowed();
    if (!allowed) return nullptr;
    std::lock_guard<std::mutex> hold(makeLock);
    if (helper == nullptr || helperPid != getpid()) {
        Helper* inherited = helper;
        helper = new Helper();
        helper->before = inherited;
        helperPid = getpid();
    }
    return helper;
}

}  // namespace

void TsRunBeside(void (*side)(void*), void* sideArg, void (*mine)(void*), void* mineArg) {
    Helper* h = GetHelper();
    if (h == nullptr || h->busy.exchange(true)) {
        mine(mineArg);
        side(sideArg);
        return;
    }
    {
        std::lock_guard<std::mutex> hold(h->lock);
        h->job = side;
        h->arg = sideArg;
        h->done = false;
    }
    h->wake.notify_one();
    mine(mineArg);
    {
        std::unique_lock<std::mutex> hold(h->lock);
        h->finished.wait(hold, [h] { return h->done; });
    }
    h->busy.store(false);
}
