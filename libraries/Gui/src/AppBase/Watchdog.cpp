#include "AppBase/Watchdog.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <semaphore.h>
#include <unistd.h>

namespace vlr {

namespace {

constexpr int mostSeconds = 10;

// A handler may post a semaphore and touch atomic numbers, but hold no lock. They outlive every
// watchdog, since a signal may come while one goes.
sem_t news;
[[maybe_unused]] const int isNewsMade = sem_init(&news, 0, 0);
std::atomic<int> requests{0};
std::atomic<bool> isSafe{false};
static_assert(std::atomic<int>::is_always_lock_free);

timespec inTheEnd() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    time.tv_sec += mostSeconds;
    return time;
}

void endProcess(const char* text, std::size_t size) {
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, size);
    _exit(EXIT_FAILURE);
}

template <std::size_t size>
void endProcess(const char (&text)[size]) {
    endProcess(text, size - 1);
}

} // namespace

// Signals are for the other threads.
Watchdog::Watchdog() {
    giveUp();
    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    m_thread = std::thread([this] { watch(); });
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

Watchdog::~Watchdog() {
    m_isStopped = true;
    sem_post(&news);
    m_thread.join();
    giveUp();
}

void Watchdog::noteSignal() noexcept {
    requests.fetch_add(1);
    sem_post(&news);
}

void Watchdog::begin() {
    int none = 0;
    requests.compare_exchange_strong(none, 1);
    sem_post(&news);
}

void Watchdog::giveUp() {
    requests = 0;
    isSafe = false;
    sem_post(&news);
}

void Watchdog::setSafe() {
    isSafe = true;
    sem_post(&news);
}

void Watchdog::watch() {
    timespec end = {};
    bool isBegun = false;
    while (!m_isStopped) {
        const int wanted = requests;
        if (wanted > 0 && !isBegun)
            end = inTheEnd();
        isBegun = wanted > 0;
        if (wanted > 1 && isSafe)
            endProcess("The program ends at once, as it was told again.\n");
        const int result = isBegun ? sem_clockwait(&news, CLOCK_MONOTONIC, &end) : sem_wait(&news);
        if (result != 0 && errno == ETIMEDOUT && !m_isStopped)
            endProcess("The program is ended: it took more than 10 seconds to end.\n");
    }
}

} // namespace vlr
