#pragma once

#include <QStringList>

#include <set>

/// Returns what a person can do about looks that failed with these system error numbers, a sentence each; empty when
/// nothing general can be said.
QStringList access_advice(const std::set<int>& error_numbers);
