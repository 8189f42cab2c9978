#include "Semaphore.h"

namespace Ostrivane {
namespace GaussianBlur {

Semaphore::Semaphore(unsigned int count) : mCount(count), mWaiters(0) {}

Semaphore::~Semaphore() = default;

void Semaphore::wait() {
    std::unique_lock<std::mutex> lock(mMutex);
    if (mCount > 0) {
        --mCount;
        return;
    }
    Ticket ticket;
    mBlocked.push_back(&ticket);
    // Counted in the same hold as the push: once a reader sees the count, the
    // ticket is in line, so a later arrival is sure to stand behind it.
    mWaiters.fetch_add(1);
    ticket.wakeUp.wait(lock, [&ticket] { return ticket.released; });
    lock.unlock();
    mWaiters.fetch_sub(1);
}

void Semaphore::signal() {
    std::lock_guard<std::mutex> lock(mMutex);
    releaseLatest();
}

void Semaphore::signal(unsigned int count) {
    std::lock_guard<std::mutex> lock(mMutex);
    for (unsigned int i = 0; i < count; ++i) {
        releaseLatest();
    }
}

void Semaphore::signalAll() {
    std::lock_guard<std::mutex> lock(mMutex);
    while (!mBlocked.empty()) {
        releaseLatest();
    }
}

void Semaphore::releaseLatest() {
    if (mBlocked.empty()) {
        ++mCount;
        return;
    }
    Ticket* ticket = mBlocked.back();
    mBlocked.pop_back();
    ticket->released = true;
    // Notified with the mutex held: the ticket lives on the waiter's stack, and
    // the waiter cannot leave wait() and destroy it before the mutex is free.
    ticket->wakeUp.notify_one();
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
