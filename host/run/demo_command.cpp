#include "host/run/demo_command.h"

#include "host/mail_database/show_command.h"
#include "host/result/source_guard.h"
#include "host/run/run_command.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/text/failure.h"
#include "sample/sample_source.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace {

// Tells a folder of a demonstration from one that somebody needs.
constexpr const char* marker_name = ".mail-extract-demo";

QString fresh_directory()
{
    QTemporaryDir directory(QDir::temp().filePath(QStringLiteral("mail-extract-demo-XXXXXX")));
    if (!directory.isValid()) {
        refuse(QStringLiteral("cannot create a folder in %1: %2").arg(QDir::tempPath(), directory.errorString()));
    }
    directory.setAutoRemove(false);
    return directory.path();
}

/// Removes what an earlier demonstration made, and nothing else.
void remove_own(const QDir& directory, const QString& name)
{
    const QString path = directory.filePath(name);
    const QFileInfo info(path);
    if (info.isSymLink()) {
        refuse(QStringLiteral("cannot use %1 for the demo: it is a link").arg(path));
    }
    if (info.exists() && !QDir(path).removeRecursively()) {
        refuse(QStringLiteral("cannot remove %1 of the earlier demo").arg(path));
    }
}

void make_ready(const QDir& directory)
{
    const QString path = directory.path();
    make_folder(path);
    QFile marker(directory.filePath(QLatin1String(marker_name)));
    if (!marker.exists() && !directory.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
        refuse(
            QStringLiteral("cannot use %1 for the demo: it is not empty and no folder of an earlier demo").arg(path));
    }
    remove_own(directory, QStringLiteral("source"));
    remove_own(directory, QStringLiteral("result"));
    if (!marker.open(QIODevice::WriteOnly) ||
        marker.write("mail-extract demo: source and result are made anew\n") < 0) {
        refuse(QStringLiteral("cannot write %1: %2").arg(marker.fileName(), marker.errorString()));
    }
}

} // namespace

int demo_command(const demo_options& options)
{
    const QDir directory(options.directory.isEmpty()
                             ? fresh_directory()
                             : QDir::cleanPath(QFileInfo(options.directory).absoluteFilePath()));
    make_ready(directory);

    sample_options sample;
    sample.root = directory.filePath(QStringLiteral("source"));
    QString error;
    if (!write_sample_source(sample, error)) {
        refuse(QStringLiteral("cannot write the sample source %1: %2").arg(sample.root, error));
    }
    print_line(QStringLiteral("sample source: ") + sample.root);

    run_options run;
    run.source = sample.root;
    run.result = directory.filePath(QStringLiteral("result"));
    const int code = run_command(run);
    if (code == exit_code::cancelled) {
        return code;
    }
    print_line({});
    show_command({run.result});
    return code;
}
