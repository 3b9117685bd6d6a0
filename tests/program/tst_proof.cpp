#include "tests/common/driven_program.h"
#include "tests/common/evidence_source.h"
#include "tests/common/files.h"
#include "tests/common/unprivileged.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

#include <filesystem>

namespace fs = std::filesystem;

namespace {

const QString mail = "Users/ann/Library/Mail/";
const QString products = "mail-extract/";
const QString database = "Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor.sqlite";

/// A finished run of two users, and a copy of both to damage.
class proven_result
{
public:
    proven_result()
    {
        source.add_mail("ann", "V9/IMAP-a@b/1.emlx|V9/IMAP-a@b/2.emlx|loose.txt|V9/MailData/x");
        source.add_mail("ben", "V9/POP-c@d/3.emlx");
        source.add_file(mail + "V9/IMAP-a@b/2.emlx", "two");
        source.add_store("ann", "1:A:NULL:a@b.c");
        const program_result run =
            run_program({"run", "--source", source.root(), "--result", source.result(), "--json"});
        root_hash = run.json()["root_hash"].toString();
        if (run.exit_code != 0 || root_hash.size() != 64) {
            qFatal("%s", run.errors.constData());
        }
        fs::copy(source.root().toStdString(), aside("source"), fs::copy_options::recursive);
        fs::copy(source.result().toStdString(), aside("case"), fs::copy_options::recursive);
    }

    /// Has source and result as they were after the run.
    void restore() const
    {
        for (const char* name : {"source", "case"}) {
            const std::string place = (QFileInfo(source.result()).path() + u'/').toStdString() + name;
            fs::remove_all(place);
            fs::copy(aside(name), place, fs::copy_options::recursive);
        }
        // A child process that is nobody in particular verifies.
        for (const QString& place : {source.root() + "..", source.result()}) {
            permit(place, 7);
        }
        for (const auto& entry : fs::recursive_directory_iterator(source.result().toStdString())) {
            permit(QString::fromStdString(entry.path()), 7);
        }
    }

    program_result verify(const QStringList& further) const
    {
        return run_program(QStringList{"verify", "--result", source.result(), "--json"} + further, as_nobody());
    }
    QString in_result(const QString& name) const { return source.result() + '/' + name; }
    QString in_source(const QString& name) const { return source.root() + name; }
    /// The copy of ann's file of that name.
    QString copy(const QString& name) const
    {
        for (const auto& entry : fs::recursive_directory_iterator(in_result("Artifacts_Result").toStdString())) {
            if (entry.path().filename() == name.toStdString()) {
                return QString::fromStdString(entry.path());
            }
        }
        return "no such copy";
    }

    evidence_source source;
    QString root_hash;

private:
    std::string aside(const char* name) const { return untouched.filePath(name).toStdString(); }

    QTemporaryDir untouched;
};

void append(const QString& path, const QByteArray& bytes = "x")
{
    write_file(path, content_of(path) + bytes);
}

void cut(const QString& path)
{
    QFile(path).resize(QFileInfo(path).size() / 2);
}

/// Leaves out the lines of a text file that hold a word.
void without_line(const QString& path, const QByteArray& word)
{
    QByteArrayList lines = content_of(path).split('\n');
    lines.removeIf([&word](const QByteArray& line) { return line.contains(word); });
    write_file(path, lines.join('\n'));
}

/// Has the seal list a product as it is now, as someone would who forges it.
void seal_anew(const proven_result& result, const QString& product)
{
    const QString seal = result.in_result(products + "seal.txt");
    const QByteArray name = (products + product).toUtf8();
    const auto digest = QCryptographicHash::hash(content_of(result.in_result(name)), QCryptographicHash::Sha256);
    without_line(seal, "  " + name);
    append(seal, digest.toHex() + "  " + name + "\n");
}

using deed = std::function<void(const proven_result&)>;

} // namespace

/// What a verification says of a result, a seal or a source that is not what it was.
class tst_proof : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (run_program({"--version"}, as_nobody()).exit_code != 0) {
            QSKIP("the program cannot be started without the superuser's privileges here");
        }
    }

    void every_change_is_told_data()
    {
        QTest::addColumn<deed>("change");
        QTest::addColumn<QStringList>("further"); // HASH stands for the run's root hash
        QTest::addColumn<int>("exit_code");
        QTest::addColumn<QString>("said"); // in the record, the findings or on standard error
        const auto row = [](const char* name, int exit_code, const char* said, const deed& change,
                            const QStringList& further = {}) {
            QTest::newRow(name) << change << further << exit_code << QString(said);
        };
        const auto nothing = [](const proven_result&) {};
        row("nothing", 0, "\"outcome\": \"whole\"", nothing);
        row("the root hash on paper", 0, "\"as_expected\": true", nothing, {"--expect", "HASH"});
        row("another root hash", 3, "the root hash is not the expected one", nothing, {"--expect", QString(64, 'a')});
        row("no root hash", 2, "64 digits", nothing, {"--expect", ""});

        const auto in_seal = [&row](const char* name, const char* said, void (*change)(const QString& seal)) {
            row(name, 3, said, [change](const proven_result& one) { change(one.in_result(products + "seal.txt")); });
        };
        in_seal("seal removed", "there is no seal", [](const QString& seal) { QFile::remove(seal); });
        in_seal("seal cut", "cannot be understood", cut);
        in_seal("seal emptied", "not listed by the seal", [](const QString& seal) { write_file(seal, ""); });
        in_seal("seal without a line", "not listed by the seal",
                [](const QString& seal) { without_line(seal, "run.json"); });
        in_seal("seal that leads elsewhere", "outside the result",
                [](const QString& seal) { append(seal, QByteArray(64, 'a') + "  ../../etc/passwd\n"); });
        row("a folder for the seal", 1, "there is a directory in its place", [](const proven_result& one) {
            QFile::remove(one.in_result(products + "seal.txt"));
            QDir().mkpath(one.in_result(products + "seal.txt"));
        });

        for (const char* name : {"manifest.csv", "SHA256SUMS", "run.json", "log.txt", "mail.sqlite", "index_only.csv",
                                 "disk_only.csv", "evidence/Users/ann/Library/Mail/loose.txt", "", "seal.txt"}) {
            // The seal itself may grow by a line that says nothing; then the paper tells.
            const QString product = *name == '\0' ? database : products + name;
            const auto path = [product](const proven_result& one) { return one.in_result(product); };
            const auto title = [name](const char* how) { return QByteArray(*name == '\0' ? "database" : name) + how; };
            row(title(" removed"), 3, "", [path](const proven_result& one) { QFile::remove(path(one)); });
            row(title(" cut"), 3, "", [path](const proven_result& one) { cut(path(one)); });
            row(title(" extended"), 3, "", [path](const proven_result& one) { append(path(one), "\n"); },
                {"--expect", "HASH"});
        }
        // Whoever opened a pipe would wait for ever.
        for (const char* name : {"manifest.csv", "run.json", "seal.txt", "log.txt"}) {
            row(QByteArray(name) + " is a pipe", 1, "there is a named pipe in its place",
                [name](const proven_result& one) {
                    const QString path = one.in_result(products + name);
                    QFile::remove(path);
                    ::mkfifo(qPrintable(path), 0600);
                });
        }
        row("a product more", 3, "not listed by the seal",
            [](const proven_result& one) { write_file(one.in_result(products + "note.txt")); });
        row("run record forged, sealed anew", 3, "the root hash is not the expected one",
            [](const proven_result& one) {
                append(one.in_result(products + "run.json"), "\n");
                seal_anew(one, "run.json");
            },
            {"--expect", "HASH"});
        row("manifest forged, sealed anew", 3, "the manifest knows no such file", [](const proven_result& one) {
            without_line(one.in_result(products + "manifest.csv"), "1.emlx");
            seal_anew(one, "manifest.csv");
        });

        row("hashes taken out of the manifest, sealed anew", 3, "has no equal hashes", [](const proven_result& one) {
            const QString manifest = one.in_result(products + "manifest.csv");
            const QString text = content_of(manifest);
            write_file(manifest, QString(text).remove(QRegularExpression("\\b[0-9a-f]{64}\\b")).toUtf8());
            seal_anew(one, "manifest.csv");
        });
        row("an earlier record cut", 3, "", [](const proven_result& one) {
            write_file(one.in_result(products + "verifications/older.json"), "{");
            QFile::setPermissions(one.in_result(products + "verifications"), QFile::Permissions(0x7777));
        });
        row("copy changed", 3, "copy,", [](const proven_result& one) { write_file(one.copy("1.emlx"), "y"); });
        row("copy removed", 3, "missing", [](const proven_result& one) { QFile::remove(one.copy("1.emlx")); });
        row("copy extended", 3, "other content", [](const proven_result& one) { append(one.copy("1.emlx")); });
        row("copies swapped", 3, "other content", [](const proven_result& one) {
            const std::string first = one.copy("1.emlx").toStdString();
            const std::string second = one.copy("2.emlx").toStdString();
            fs::rename(first, first + ".aside");
            fs::rename(second, first);
            fs::rename(first + ".aside", second);
        });
        row("a copy more", 3, "the manifest knows no such file",
            [](const proven_result& one) { write_file(one.copy("1.emlx") + ".more"); });
        row("copy and source changed alike", 3, "source,", [](const proven_result& one) {
            append(one.copy("1.emlx"));
            append(one.in_source(mail + "V9/IMAP-a@b/1.emlx"));
        });
        row("source changed", 3, "source,",
            [](const proven_result& one) { append(one.in_source(mail + "V9/IMAP-a@b/1.emlx")); });
        row("source extended", 3, "it was not there when the run looked",
            [](const proven_result& one) { write_file(one.in_source(mail + "V9/IMAP-a@b/9.emlx")); });
        row("a user gone from the source", 3, "source,Users/ben",
            [](const proven_result& one) { fs::remove_all(one.in_source("Users/ben").toStdString()); });
        row("other users", 1, "other users",
            [](const proven_result& one) {
                fs::remove_all(one.in_source("Users").toStdString());
                write_file(one.in_source("Users/eve/x"));
            },
            {"--source", "SOURCE"});
        row("no source", 0, "seal and copies alone",
            [](const proven_result& one) { fs::remove_all(one.in_source("").toStdString()); });

        // What may not be looked at is never another source, and never none.
        const auto closed = [&row](const char* name, const char* said, const QString& path, unsigned bits,
                                   const QStringList& further = {}) {
            row(
                name, 3, said, [path, bits](const proven_result& one) { permit(one.in_source(path), bits); }, further);
        };
        closed("users closed", "Users: Permission denied", "Users", 0);
        closed("users closed, source named", "Users: Permission denied", "Users", 0, {"--source", "SOURCE"});
        closed("users without a list", "Users: Permission denied", "Users", 1);
        closed("a home closed", "Users/ben: Permission denied", "Users/ben", 0);
        closed("the source closed", "Permission denied", "", 0);
    }

    void every_change_is_told()
    {
        static const proven_result result;
        result.restore();
        QFETCH(const deed, change);
        change(result);
        QFETCH(QStringList, further);
        further.replaceInStrings("HASH", result.root_hash).replaceInStrings("SOURCE", result.source.root());
        const program_result verified = result.verify(further);
        permit(result.in_source(""), 7);
        permit(result.in_source("Users"), 7);
        permit(result.in_source("Users/ben"), 7);

        QFETCH(const QString, said);
        QByteArray told = verified.output + verified.errors;
        const QDir records(result.in_result(products + "verifications"));
        for (const QString& name : records.entryList({"*.csv"})) {
            told += content_of(records.filePath(name));
        }
        QVERIFY2(told.contains(said.toUtf8()), told);
        QFETCH(const int, exit_code);
        QVERIFY2(verified.exit_code == exit_code, QByteArray::number(verified.exit_code) + told);

        // The report says the same, of itself and when it is asked for; a command that was refused has none.
        const bool is_recorded = !records.entryList({"*.json"}).isEmpty();
        const bool is_green =
            content_of(result.in_result(products + "report.html")).contains("Every copy that is due is there");
        QVERIFY2(!is_recorded || is_green == (exit_code == 0), told);
        const program_result report = run_program({"report", "--result", result.source.result()});
        QVERIFY2(!is_recorded || report.exit_code == exit_code, report.errors);
    }
};

QTEST_GUILESS_MAIN(tst_proof)
#include "tst_proof.moc"
