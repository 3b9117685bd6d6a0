#include "tests/faults/trial_ground.h"

#include "tests/common/files.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <sys/prctl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

const QString anna_folder = "6F9619FF-8B86-D011-B42D-00CF4FC964FF";
const QString anna_second = "0C3E0B53-7B55-4E4B-9E0F-6A1C1D1E1F20";
const QString ben_folder = "A8098C1A-F86E-11DA-BD1A-00112444BE1E";
constexpr int longest_trial_ms = 120'000;

QMap<QString, QByteArray> make_source(const trial_ground& ground)
{
    const evidence_source& source = ground.source;
    source.add_mail("anna", "V10/" + anna_folder + "/INBOX.mbox/1.emlx|V10/" + anna_second +
                                "/2.emlx|V10/IMAP-work@imap.example.org/3.emlx|V10/.hidden|V10/MailData/4.plist");
    source.add_store("anna", "1:" + anna_folder + "::anna@example.com", "2:" + anna_second + "::anna@example.net");
    source.add_mail("ben", "V9/" + ben_folder + "/5.emlx|V9/POP-ben@pop.example.org/6.emlx|V8/" + ben_folder +
                               "/7.emlx|loose");
    source.add_store("ben", "1:" + ben_folder + "::ben@example.com");
    source.add_file("Users/ben/Library/Mail/V9/" + ben_folder + "/large.emlx", QByteArray(300'000, 'm'));
    return ground.source_state();
}

QByteArray facts_of(const fs::path& path)
{
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0) {
        return "absent";
    }
    QByteArray facts;
    for (const auto number :
         {qint64(status.st_mode), qint64(status.st_ino), qint64(status.st_size), qint64(status.st_nlink),
          qint64(status.st_uid), qint64(status.st_mtim.tv_sec), qint64(status.st_mtim.tv_nsec),
          qint64(status.st_ctim.tv_sec), qint64(status.st_ctim.tv_nsec)}) {
        facts += QByteArray::number(number) + ' ';
    }
    return S_ISREG(status.st_mode) ? facts + content_of(QFile::decodeName(path.c_str())) : facts;
}

QStringList rows_of(const QString& database)
{
    QStringList rows;
    if (QFile::exists(database)) {
        QSqlDatabase connection = QSqlDatabase::addDatabase("QSQLITE", "trial");
        connection.setDatabaseName(database);
        connection.open();
        QSqlQuery query("SELECT * FROM accounts", connection);
        while (query.next()) {
            QSqlRecord row = query.record();
            row.remove(row.indexOf("INT"));
            QStringList values;
            for (int column = 0; column < row.count(); ++column) {
                values.append(row.value(column).toString());
            }
            rows.append(values.join('|'));
        }
        connection.close();
    }
    QSqlDatabase::removeDatabase("trial");
    rows.sort();
    return rows;
}

/// What of a product must be the same in each run of the same source.
QByteArray lasting_content(const QString& name, const QByteArray& content)
{
    if (name == "run.json") {
        const QJsonObject record = QJsonDocument::fromJson(content).object();
        return record["status"].toString().toUtf8() + ' ' + QByteArray::number(record["exit_code"].toInt(-1));
    }
    if (name == "report.html") {
        return content.trimmed().endsWith("</html>") ? "whole" : "cut off";
    }
    return name == "manifest.csv" || name == "SHA256SUMS" ? content : QByteArray("there");
}

template <class visitor>
void each_file_below(const QString& directory, const visitor& visit)
{
    std::error_code ignored;
    for (const auto& entry : fs::recursive_directory_iterator(QFile::encodeName(directory).toStdString(), ignored)) {
        visit(entry, QFile::decodeName(entry.path().c_str()).mid(directory.size() + 1));
    }
}

/// Paths that only one of both has, or with another content.
QStringList differing(const QMap<QString, QByteArray>& here, const QMap<QString, QByteArray>& there)
{
    QStringList paths;
    for (const QString& path : here.keys() + there.keys()) {
        if (here.contains(path) != there.contains(path) || here.value(path) != there.value(path)) {
            paths.append(path);
        }
    }
    paths.removeDuplicates();
    return paths;
}

QByteArray without_escapes(QByteArray pattern)
{
    return pattern.replace("\\*", "*").replace("\\?", "?").replace("\\[", "[").replace("\\\\", "\\");
}

} // namespace

trial_ground::trial_ground() : source_before(make_source(*this)) {}

QStringList trial_ground::run_arguments(const QStringList& further) const
{
    return QStringList{"run", "--quiet", "--source", source.root(), "--result", result()} + further;
}

QStringList trial_ground::verify_arguments() const
{
    return {"verify", "--source", source.root(), "--result", result()};
}

trial_ending trial_ground::run(const QStringList& arguments, const chosen_fault& fault,
                               const std::function<void()>& during) const
{
    const QString ground = QDir::cleanPath(source.root() + "/..");
    const QString trace = ground + "/trace";
    QFile::remove(trace);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LD_PRELOAD", FAILING_CALLS);
    environment.insert("FAULTS_ROOT", ground);
    environment.insert("FAULTS_TRACE", trace);
    environment.insert("FAULTS_KIND", QString::fromUtf8(fault.kinds));
    environment.insert("FAULTS_PATH", QString::fromUtf8(fault.path));
    environment.insert("FAULTS_NUMBER", QString::fromUtf8(fault.number));
    environment.insert("FAULTS_FORM", QString::fromUtf8(fault.form));
    QProcess program;
    program.setProcessEnvironment(environment);
    // Also where the test itself is ended.
    program.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    program.start(MAIL_EXTRACT_PROGRAM, arguments);
    if (during) {
        const QString state = QString("/proc/%1/stat").arg(program.processId());
        while (program.state() != QProcess::NotRunning && !content_of(state).contains(") T ")) {
            program.waitForFinished(2);
        }
        during();
        ::kill(static_cast<pid_t>(program.processId()), SIGCONT);
    }
    trial_ending ending;
    if (!program.waitForFinished(longest_trial_ms)) {
        program.kill();
        program.waitForFinished();
    } else if (program.exitStatus() == QProcess::NormalExit) {
        ending.exit_code = program.exitCode();
    }
    const QByteArray calls = content_of(trace);
    const qsizetype met = calls.indexOf("FAILED\t");
    ending.met = met >= 0;
    if (ending.met) {
        ending.met_path = without_escapes(calls.mid(met, calls.indexOf('\n', met) - met).split('\t').value(2));
    }
    ending.output = program.readAllStandardOutput();
    ending.errors = program.readAllStandardError();
    ending.said = ending.errors + content_of(result() + "/mail-extract/run.json") +
                  content_of(result() + "/mail-extract/manifest.csv");
    return ending;
}

QList<chosen_fault> trial_ground::calls_of(const QStringList& arguments, trial_ending* ended) const
{
    const trial_ending ending = run(arguments, {});
    if (ending.exit_code != 0) {
        qFatal("the undisturbed run ended with %d: %s", ending.exit_code, ending.said.constData());
    }
    if (ended != nullptr) {
        *ended = ending;
    }
    QList<chosen_fault> calls;
    QMap<QByteArray, int> numbers;
    const QByteArrayList lines = content_of(QDir::cleanPath(source.root() + "/../trace")).split('\n');
    for (QByteArray line : lines) {
        const qsizetype tab = line.indexOf('\t');
        // Such files are named otherwise at each run.
        static const QRegularExpression drawn(
            "(\\.(?!sqlite)[A-Za-z]{6}(-journal|-wal)?|unfinished-\\d+|#\\d+( \\(deleted\\))?)$");
        static const QRegularExpression dated("/[-\\d]{10}T[-\\d.]+Z");
        line = QString::fromUtf8(line).replace(drawn, "*").replace(dated, "/*").toUtf8();
        if (tab > 0) {
            calls.append({line.left(tab), line.mid(tab + 1), QByteArray::number(++numbers[line]), {}});
        }
    }
    return calls;
}

result_content trial_ground::content() const
{
    result_content content;
    content.rows = rows_of(result() + "/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor.sqlite");
    each_file_below(result(), [&](const fs::directory_entry& entry, const QString& path) {
        if (!entry.is_regular_file() || path.contains("/Apple_Mail_Extractor.sqlite")) {
            return;
        }
        const QByteArray bytes = content_of(result() + '/' + path);
        if (path.startsWith("mail-extract/")) {
            // Records of verifications are named by their time.
            static const QRegularExpression numbers("\\d+");
            content.products[QString(path).replace(numbers, "0")] = lasting_content(QFileInfo(path).fileName(), bytes);
        } else {
            const QDateTime time = QFileInfo(result() + '/' + path).lastModified();
            content.copies[path] = QByteArray::number(time.toMSecsSinceEpoch()) + ' ' + bytes;
        }
    });
    return content;
}

QMap<QString, QByteArray> trial_ground::source_state() const
{
    QMap<QString, QByteArray> state;
    each_file_below(QDir::cleanPath(source.root()), [&](const fs::directory_entry& entry, const QString& path) {
        state[path] = facts_of(entry.path());
    });
    return state;
}

void trial_ground::empty_result() const
{
    QDir(result()).removeRecursively();
    QDir().mkpath(result());
}

void trial_ground::keep_result() const
{
    const std::string from = result().toStdString();
    fs::remove_all(from + ".kept");
    fs::rename(from, from + ".kept");
    restore_result();
}

void trial_ground::restore_result() const
{
    QDir(result()).removeRecursively();
    // Unlike a copy by the standard library this keeps the times.
    QProcess::execute("cp", {"-a", result() + ".kept", result()});
}

QStringList trial_ground::complaints(const QString& trial, const trial_ending& ending,
                                     const result_content& undisturbed) const
{
    QStringList found;
    const auto unless = [&](bool good, const QString& text) {
        if (!good && !found.contains(trial + ": " + text)) {
            found.append(trial + ": " + text);
        }
    };
    const result_content left = content();
    unless(ending.exit_code >= 0, "crashed or hung");
    unless(source_state() == source_before, "the source was changed");
    unless(!ending.said.contains("Unknown error"), "an error without words");
    unless(!left.products.value("mail-extract/run.json").startsWith(' '), "left a run.json that is none");
    if (ending.exit_code == 0) {
        unless(left.rows == undisturbed.rows,
               QString("ended with 0 and %1 of %2 rows, or others").arg(left.rows.size()).arg(undisturbed.rows.size()));
        for (const auto& [here, there] :
             {std::pair{left.copies, undisturbed.copies}, std::pair{left.products, undisturbed.products}}) {
            const QStringList others = differing(here, there);
            unless(others.isEmpty(),
                   QString("ended with 0 and %1 other files: %2").arg(others.size()).arg(others.mid(0, 4).join(' ')));
        }
    }
    return found;
}

bool says_that_disk_is_full(const trial_ending& ending)
{
    return ending.said.contains("No space left") || ending.said.contains("disk is full") ||
           ending.said.contains("not enough room");
}

complaint_list& complaint_list::operator+=(const QStringList& further)
{
    for (const QString& complaint : further) {
        qWarning("%s", qUtf8Printable(complaint));
    }
    count += further.size();
    return *this;
}

quint32 attack_seed()
{
    return qEnvironmentVariable("FAULTS_SEED", "1").toUInt();
}

int attack_trials(int short_form)
{
    return qEnvironmentVariable("FAULTS_TRIALS", QString::number(short_form)).toInt();
}
