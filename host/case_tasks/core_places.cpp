#include "host/case_tasks/core_places.h"

#include <QDir>

#include <algorithm>

#if defined(__linux__)
#include <sched.h>

namespace {

cpu_set_t set_of(const QList<int>& cores)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    for (const int core : cores) {
        CPU_SET(core, &set);
    }
    return set;
}

QList<int> usable_cores()
{
    QList<int> cores;
    cpu_set_t usable;
    const bool is_known = ::sched_getaffinity(0, sizeof usable, &usable) == 0;
    for (int core = 0; is_known && core < CPU_SETSIZE; ++core) {
        if (CPU_ISSET(core, &usable)) {
            cores.append(core);
        }
    }
    return cores;
}

/// Where the system refuses, all is only slower.
void keep_to(pid_t thread, const cpu_set_t& set)
{
    ::sched_setaffinity(thread, sizeof set, &set);
}

} // namespace

core_places::core_places(int processes) : cores(usable_cores())
{
    if (processes < cores.size() || cores.size() < 2) {
        cores.clear();
    }
}

std::function<void()> core_places::keeper(std::optional<int> core)
{
    if (!core) {
        return [] {};
    }
    return [set = set_of({*core})] { keep_to(0, set); };
}

void core_places::let_use_all(const QProcess& process) const
{
    if (cores.isEmpty() || process.processId() <= 0) {
        return;
    }
    const cpu_set_t set = set_of(cores);
    const QDir threads(QStringLiteral("/proc/%1/task").arg(process.processId()));
    for (const QString& thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        keep_to(thread.toInt(), set);
    }
}

#else

core_places::core_places(int) {}

std::function<void()> core_places::keeper(std::optional<int>)
{
    return [] {};
}

void core_places::let_use_all(const QProcess&) const {}

#endif

std::optional<int> core_places::emptiest(const QList<int>& taken) const
{
    const auto least = std::min_element(cores.begin(), cores.end(),
                                        [&taken](int one, int other) { return taken.count(one) < taken.count(other); });
    return least != cores.end() ? std::optional(*least) : std::nullopt;
}
