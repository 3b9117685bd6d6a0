#include "tests/fuzz/fuzz_target.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHashSeed>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <algorithm>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

/// Asked by the address sanitizer. Most of a run is allocations: where each was made is kept in short, and not for
/// long. ASAN_OPTIONS=malloc_context_size=30 tells of one input that was found.
extern "C" const char* __asan_default_options(); // NOLINT(bugprone-reserved-identifier)

extern "C" const char* __asan_default_options() // NOLINT(bugprone-reserved-identifier)
{
    return "malloc_context_size=1:quarantine_size_mb=8";
}

namespace {

constexpr const char* place_in_memory = "/dev/shm";

void discard_message(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& /*text*/) {}

void write_file(const QString& path, const QByteArray& content)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

/// Writes the words as libFuzzer reads them, and returns where.
QString write_dictionary(const QByteArrayList& words)
{
    QByteArray text;
    for (const QByteArray& word : words) {
        text += "\"\\x" + word.toHex(' ').replace(" ", "\\x") + "\"\n";
    }
    const QString path = scratch_directory() + QStringLiteral("/words");
    write_file(path, text);
    return path;
}

QString write_seeds(const QByteArrayList& seeds)
{
    const QString folder = scratch_directory() + QStringLiteral("/seeds");
    require(QDir().mkpath(folder));
    for (qsizetype number = 0; number < seeds.size(); ++number) {
        write_file(folder + QLatin1Char('/') + QString::number(number), seeds[number]);
    }
    return folder;
}

// Deeper than anything that is read.
constexpr qsizetype deepest_key = 4;

void set_member(QJsonObject& object, QByteArrayList keys, const QJsonValue& value)
{
    const QString key = QString::fromUtf8(keys.takeFirst());
    if (keys.isEmpty()) {
        object.insert(key, value);
        return;
    }
    QJsonObject inner = object[key].toObject();
    set_member(inner, keys, value);
    object.insert(key, inner);
}

} // namespace

QJsonObject object_of(const QByteArray& bytes)
{
    if (bytes.startsWith('{')) {
        return QJsonDocument::fromJson(bytes).object();
    }
    QJsonObject object;
    for (const QByteArray& line : bytes.split('\n')) {
        const qsizetype equals = line.indexOf('=');
        const QByteArray text = line.mid(equals + 1);
        const QJsonArray value = QJsonDocument::fromJson('[' + text + ']').array();
        set_member(object, line.left(equals).split('.').mid(0, deepest_key),
                   value.isEmpty() ? QJsonValue(QString::fromUtf8(text)) : value.first());
    }
    return object;
}

QByteArray lines_of(const QJsonObject& object, const QByteArray& above)
{
    QByteArray lines;
    for (auto member = object.begin(); member != object.end(); ++member) {
        const QByteArray key = above + member.key().toUtf8();
        if (member->isObject() && !member->toObject().isEmpty()) {
            lines += lines_of(member->toObject(), key + '.');
        } else {
            lines += key + '=' + QJsonDocument(QJsonArray{*member}).toJson(QJsonDocument::Compact).mid(1);
            lines.chop(1);
            lines += '\n';
        }
    }
    return lines;
}

const QString& scratch_directory()
{
    static const QString parent =
        QFileInfo(QLatin1String(place_in_memory)).isWritable() ? QLatin1String(place_in_memory) : QDir::tempPath();
    static const QTemporaryDir directory(parent + QStringLiteral("/fuzz-XXXXXX"));
    static const QString path = directory.path();
    require(directory.isValid());
    return path;
}

scratch_file::scratch_file(const QString& name) : file_path(scratch_directory() + QLatin1Char('/') + name)
{
    require(QDir().mkpath(QFileInfo(file_path).path()));
    descriptor = ::open(QFile::encodeName(file_path).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    require(descriptor >= 0);
}

scratch_file::~scratch_file()
{
    ::close(descriptor);
}

void scratch_file::write(const QByteArray& content) const
{
    require(::pwrite(descriptor, content.constData(), static_cast<size_t>(content.size()), 0) == content.size() &&
            ::ftruncate(descriptor, content.size()) == 0);
}

/// Hands libFuzzer the target's plan as if it had been typed, before what was typed, which so has the last word.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    // The same input must take the same way every time, and a message for each takes longer than the input.
    QHashSeed::setDeterministicGlobalSeed();
    qInstallMessageHandler(discard_message);

    static std::vector<std::string> texts(*argv, *argv + *argc);
    const bool replays_files = std::any_of(texts.begin() + 1, texts.end(), [](const std::string& text) {
        return text.front() != '-' && QFileInfo(QString::fromStdString(text)).isFile();
    });
    const fuzz_plan planned = plan();
    texts.insert(texts.begin() + 1, {"-max_len=" + std::to_string(planned.longest_input), "-timeout=10",
                                     "-rss_limit_mb=1024", "-dict=" + write_dictionary(planned.words).toStdString()});
    if (!replays_files) {
        texts.push_back(write_seeds(planned.seeds).toStdString());
    }
    static std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    *argc = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);
    *argv = pointers.data();
    return 0;
}
