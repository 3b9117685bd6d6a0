#include "host/self_test/self_test_ground.h"

#include "host/text/failure.h"

#include <QFile>

namespace {

constexpr int longest_wait = 60'000; // milliseconds

} // namespace

QString child_ending::words() const
{
    const QString first_line = QString::fromUtf8(errors.left(errors.indexOf('\n')));
    return QStringLiteral("ended with %1%2")
        .arg(exit_code)
        .arg(first_line.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(first_line));
}

QStringList self_test_ground::run_arguments(const QString& result, const QStringList& further) const
{
    return QStringList{
               QStringLiteral("run"),    QStringLiteral("--source"), volume.root, QStringLiteral("--result"), result,
               QStringLiteral("--quiet")} +
           further;
}

void start_child(QProcess& process, const QString& program, const QStringList& arguments,
                 const std::function<void()>& in_child, const QString& time_zone)
{
    process.setStandardInputFile(QProcess::nullDevice());
    process.setChildProcessModifier(in_child);
    if (!time_zone.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TZ"), time_zone);
        process.setProcessEnvironment(environment);
    }
    process.start(program, arguments);
}

child_ending run_child(const QString& program, const QStringList& arguments, const std::function<void()>& in_child,
                       const QString& time_zone)
{
    QProcess process;
    start_child(process, program, arguments, in_child, time_zone);
    if (!process.waitForFinished(longest_wait)) {
        const QByteArray reason = process.errorString().toUtf8();
        process.kill();
        process.waitForFinished();
        return {-1, {}, reason};
    }
    const int code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return {code, process.readAllStandardOutput(), process.readAllStandardError()};
}

QByteArray trial_content(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        refuse(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
    }
    return file.readAll();
}
