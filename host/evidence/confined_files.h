#pragma once

#include <QByteArray>

#include <memory>

/// SQLite's access to files, confined to one directory: nothing outside of it is opened, examined or deleted. A forged
/// rollback journal could otherwise name any file of this machine as the journal it belongs to, and SQLite deletes
/// such a file after the rollback. And what is there to be read but cannot be had is an error: SQLite would take zeros
/// for it.
class confined_files
{
public:
    /// `directory` is absolute and resolved.
    explicit confined_files(const QByteArray& directory);
    ~confined_files();
    confined_files(const confined_files&) = delete;
    confined_files& operator=(const confined_files&) = delete;

    /// Returns the name under which sqlite3_open_v2() finds this access, as long as this object lives.
    const char* name() const;

private:
    struct access;
    std::unique_ptr<access> state;
};
