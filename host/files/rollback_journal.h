#pragma once

#include <QByteArray>

/// True when a rollback journal of SQLite's ends with the name of another journal that it belongs to. A rollback with
/// it deletes the file of that name, and whoever can place a journal can name any file. False when there is none, or
/// none that can be read, which SQLite could not roll back either.
bool names_another_file(const QByteArray& journal);
