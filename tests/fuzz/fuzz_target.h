#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QJsonObject>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// What a target's run begins with, unless the command line says otherwise.
struct fuzz_plan
{
    int longest_input = 4096; ///< bytes
    QByteArrayList words;     ///< what inputs are made of
    QByteArrayList seeds;     ///< inputs that reach what chance would not
};

/// Each target says its own; asked once, before the first input.
fuzz_plan plan();

/// What libFuzzer calls, with every input it thinks of.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// Ends the run, with the input that led here, when something does not hold.
inline void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

inline QByteArray bytes_of(const uint8_t* data, size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}

/// Returns the object that bytes tell of: as JSON, or as lines "key.key=value", of which a changed byte spoils only
/// one.
QJsonObject object_of(const QByteArray& bytes);
/// Returns an object as such lines.
QByteArray lines_of(const QJsonObject& object, const QByteArray& above = {});

/// A directory of this run's own, in memory where the system has such a place: thousands of files a second are written.
const QString& scratch_directory();

/// A file that takes one input after the other. It stays open: truncating it anew is what takes time.
class scratch_file
{
public:
    /// Makes the file, and the folders above it, below the scratch directory.
    explicit scratch_file(const QString& name);
    ~scratch_file();
    scratch_file(const scratch_file&) = delete;
    scratch_file& operator=(const scratch_file&) = delete;

    const QString& path() const { return file_path; }
    void write(const QByteArray& content) const;

private:
    QString file_path;
    int descriptor = -1;
};
