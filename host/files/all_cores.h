#pragma once

#include <cstddef>
#include <functional>

/// Returns how many cores this process may use now, at least one: a scheduler may give it few of many, or more later.
std::size_t core_count();

/// Calls `work` for every number below `count`, each once, in no order, by as many threads as there are cores; the
/// calling one is one of them. Returns when all are done. What `work` throws ends the program. A thread is started for
/// no fewer than `for_a_thread` numbers, which would be done before it begins.
void for_each_on_all_cores(std::size_t count, const std::function<void(std::size_t number)>& work,
                           std::size_t for_a_thread = 32);
