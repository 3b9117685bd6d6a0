#pragma once

#include "host/files/quiet_reading.h"

#include <QByteArray>

#include <functional>
#include <vector>

/// A file that the accounts of a result rest on and that no copy of a Mail directory holds: the system's version, an
/// account store, what stands beside a store.
struct witness
{
    QByteArray path; ///< relative to the source
    entry_facts facts;
};

/// Returns the witness to the system; nothing where there is none.
std::vector<witness> system_witnesses(const QByteArray& source);

/// Returns the account stores of a user with everything that SQLite put beside them, sorted by path; of whatever kind,
/// so that a pipe in the place of a store is seen as well.
std::vector<witness> store_witnesses(const QByteArray& source, const QByteArray& user);
