#pragma once

#include <QByteArray>

#include <ctime>
#include <utility>

// The system calls of copying, which differ from platform to platform. Those that can fail leave the reason in errno; a
// call that a signal interrupted is made again. `directory` is a descriptor, names are relative to it.

/// Owns a file descriptor and closes it.
class owned_descriptor
{
public:
    owned_descriptor() = default;
    explicit owned_descriptor(int descriptor) : number(descriptor) {}
    owned_descriptor(owned_descriptor&& other) noexcept : number(other.release()) {}
    owned_descriptor& operator=(owned_descriptor&& other) noexcept
    {
        close();
        number = other.release();
        return *this;
    }
    ~owned_descriptor() { close(); }

    /// Returns the descriptor, -1 when there is none.
    int get() const { return number; }
    bool is_open() const { return number >= 0; }
    /// Hands the descriptor to the caller, who closes it from then on.
    int release() { return std::exchange(number, -1); }
    /// Closes it; false when the system says only now that something written did not arrive.
    bool close();

private:
    int number = -1;
};

enum class link_rule
{
    refuse,
    follow
};

enum class content_kind
{
    file,
    directory,
    link,
    other ///< pipes, sockets, devices
};

/// What copying needs to know of a file.
struct content_status
{
    content_kind kind = content_kind::other;
    bool hidden_by_flag = false; ///< macOS alone has such a flag
    qint64 size = 0;
    qint64 allocated = 0; ///< bytes on the disk; less than the size when there are holes
    timespec modified = {};
    timespec changed = {};
    unsigned permissions = 0; ///< the nine bits of owner, group and others
    quint64 device = 0;

    /// True when size or times are not what they were.
    bool differs_from(const content_status& earlier) const;
};

/// Learns the status of an open file; false when that fails.
bool status_of(int descriptor, content_status& status);
/// Learns the status of an entry without opening it; false when that fails.
bool status_at(int directory, const char* name, link_rule links, content_status& status);

/// True where every entry must be looked at to know whether it is hidden.
bool hides_by_flag();
/// A path of so many bytes or more is refused by the system.
qsizetype path_limit();

/// Opens a directory to list it; "directory" may be current_directory() for a path.
owned_descriptor open_directory(int directory, const char* name, link_rule links);
/// Opens a directory, links followed, to create files in it; needs no permission to list it.
owned_descriptor open_destination(int directory, const char* name);
/// Opens a file for reading, without changing its access time where that is permitted and without waiting for a pipe.
owned_descriptor open_source(int directory, const char* name, link_rule links);
/// True where asking does something for the files of a directory: not where all lies in memory.
bool reads_on_demand(int directory);
/// Asks the system to read the beginning of an open file without waiting for it.
void ask_for_beginning(int descriptor);
/// Asks the system, without waiting, for what a large file holds some way behind a piece that is about to be read.
void ask_behind(int descriptor, qint64 offset, qint64 bytes);
/// Stands for the directory that relative paths begin at.
int current_directory();

/// Returns the permissions of a copy: the source's, and that its owner may read it.
unsigned permissions_of_copy(const content_status& source);
/// Creates a file for reading and writing; errno is EEXIST when anything has that name. Of the permissions the process
/// or the directory may withhold some.
owned_descriptor create_file(int directory, const char* name, unsigned permissions);
/// Creates a file that has no name and goes away with its descriptor; not open where the file system offers none.
owned_descriptor create_nameless_file(int directory);
/// Gives a nameless file its name; errno is EEXIST when anything has that name.
bool give_name(int descriptor, int directory, const char* name);
/// Creates a file that shares its content with an open one, where that is done by name (macOS); else not open, with
/// ENOTSUP. With EEXIST anything has that name.
owned_descriptor create_clone(int source, int directory, const char* name);
/// Makes an open, empty file share its content with another, where that is done by descriptor (Linux); false where the
/// file systems do not do this, and the file is as it was.
bool share_content(int source, int descriptor);

/// Sets the permissions of an open file; false when that failed.
bool set_permissions(int descriptor, unsigned permissions);
/// Sets the modification time of an open file; false when that failed.
bool set_time(int descriptor, const timespec& modified);
/// Waits until everything on the file system of a directory is on the disk.
bool sync_file_system(const char* directory);
