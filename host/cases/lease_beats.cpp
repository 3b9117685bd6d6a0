#include "host/cases/lease_beats.h"

lease_beats::lease_beats(lease& of) : held(of), thread([this] { beat_on(); }) {}

lease_beats::~lease_beats()
{
    {
        const std::lock_guard lock(mutex);
        ends = true;
    }
    wake.notify_all();
    thread.join();
}

void lease_beats::beat_on()
{
    const std::chrono::milliseconds interval(held.beat_ms());
    std::unique_lock lock(mutex);
    while (!lost && !wake.wait_for(lock, interval, [this] { return ends; })) {
        lock.unlock();
        lost = !held.beat();
        lock.lock();
    }
}
