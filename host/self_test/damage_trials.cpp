#include "host/self_test/damage_trials.h"

#include "host/result/result_paths.h"
#include "host/self_test/copy_judgements.h"
#include "host/terminal/exit_codes.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>

namespace {

/// What a verification is to find, and where it tells so.
struct damage
{
    const char* text;
    const char* place;  ///< the member of the record that has the finding
    QString path;       ///< of the damaged file
    QByteArray content; ///< that it is given; nothing of it for a file that is removed
    bool removed = false;
};

/// The file as it was, put back at the end.
class kept_file
{
public:
    explicit kept_file(const QString& path)
        : file_path(path)
        , existed(QFileInfo::exists(path))
        , modified(QFileInfo(path).lastModified())
        , content(existed ? trial_content(path) : QByteArray())
    {
    }
    ~kept_file()
    {
        QFile file(file_path);
        if (existed && file.open(QIODevice::WriteOnly)) {
            file.write(content);
            file.flush();
            file.setFileTime(modified, QFileDevice::FileModificationTime);
        } else if (!existed) {
            file.remove();
        }
    }
    Q_DISABLE_COPY_MOVE(kept_file)

private:
    QString file_path;
    bool existed;
    QDateTime modified;
    QByteArray content;
};

child_ending verify(const self_test_ground& ground, const QString& result, const QStringList& further = {})
{
    return run_child(ground.program, QStringList{QStringLiteral("verify"), QStringLiteral("--result"), result,
                                                 QStringLiteral("--json"), QStringLiteral("--quiet")} +
                                         further);
}

/// Gives a file another content of whatever size and, as somebody would who hides it, its old time.
void damage_file(const damage& what)
{
    const QDateTime modified = QFileInfo(what.path).lastModified();
    if (what.removed) {
        if (!QFile::remove(what.path)) {
            refuse(QStringLiteral("cannot remove %1").arg(what.path));
        }
        return;
    }
    write_trial_file(what.path, what.content);
    QFile file(what.path);
    if (modified.isValid() &&
        (!file.open(QIODevice::ReadWrite) || !file.setFileTime(modified, QFileDevice::FileModificationTime))) {
        refuse(QStringLiteral("cannot set the time of %1").arg(what.path));
    }
}

/// The newest list of findings names the path.
bool findings_name(const QString& result, const QString& name)
{
    const QDir records(result_paths(result).verifications());
    const QStringList lists = records.entryList({QStringLiteral("*.csv")}, QDir::Files, QDir::Name);
    return !lists.isEmpty() && trial_content(records.filePath(lists.last())).contains(name.toUtf8());
}

void judge_damage(const self_test_ground& ground, const QString& result, const damage& what, examination& found)
{
    const kept_file kept(what.path);
    damage_file(what);
    const child_ending ending = verify(ground, result);
    const QString name = QFileInfo(what.path).fileName();
    found.expect(ending.exit_code == exit_code::with_failures, QStringLiteral("the verification ") + ending.words());
    found.expect(ending.json()[QLatin1String(what.place)][QLatin1String("findings")].toInteger() > 0,
                 QStringLiteral("no finding in ") + QLatin1String(what.place));
    found.expect(findings_name(result, name), QStringLiteral("no finding names ") + name);
}

QByteArray other_bytes(const QString& path)
{
    QByteArray content = trial_content(path);
    if (content.isEmpty()) {
        refuse(QStringLiteral("%1 is empty").arg(path));
    }
    content[content.size() / 2] = static_cast<char>(content[content.size() / 2] ^ 1);
    return content;
}

QString first_copy(const QString& result)
{
    for (const manifest_entry& entry : manifest_of(result)) {
        if (entry.status == entry_status::copied && entry.size > 0 && entry.copy.endsWith(".emlx")) {
            return result + QLatin1Char('/') + QFile::decodeName(entry.copy);
        }
    }
    refuse(QStringLiteral("%1 has no copy").arg(result));
}

QList<damage> damages_of(const self_test_ground& ground, const QString& result)
{
    const result_paths paths(result);
    const QString copy = first_copy(result);
    const QString source =
        ground.volume.root + QLatin1Char('/') + odd_folder() + QLatin1Char('/') + QLatin1String(link_target);
    return {{"a changed copy is found", "copies", copy, other_bytes(copy)},
            {"a removed copy is found", "copies", copy, {}, true},
            {"an added copy is found", "copies", QFileInfo(copy).path() + QStringLiteral("/added.emlx"), "1\nx"},
            {"a changed product is found by the seal", "seal", paths.path(product::manifest),
             trial_content(paths.path(product::manifest)) + "\r\n"},
            {"a changed source file is found", "sources", source, other_bytes(source)}};
}

/// Somebody changes a product and seals it anew: only the root hash on paper knows.
void judge_new_seal(const self_test_ground& ground, const QString& result, examination& found)
{
    const result_paths paths(result);
    const QString root = QString::fromLatin1(own_hash_of(paths.path(product::seal)));
    const child_ending expected = verify(ground, result, {QStringLiteral("--expect"), root});
    found.expect(expected.exit_code == exit_code::whole, QStringLiteral("undamaged: ") + expected.words());
    const kept_file kept_log(paths.path(product::log));
    const kept_file kept_seal(paths.path(product::seal));
    const QByteArray old_hash = own_hash_of(paths.path(product::log));
    write_trial_file(paths.path(product::log), trial_content(paths.path(product::log)) + "one line more\n");
    QByteArray seal = trial_content(paths.path(product::seal));
    found.expect(seal.contains(old_hash), QStringLiteral("the seal does not list the log"));
    write_trial_file(paths.path(product::seal), seal.replace(old_hash, own_hash_of(paths.path(product::log))));
    const child_ending forged = verify(ground, result, {QStringLiteral("--expect"), root});
    found.expect(forged.exit_code == exit_code::with_failures, QStringLiteral("sealed anew: ") + forged.words());
}

} // namespace

void judge_quiet_verification(const self_test_ground& ground, const QString& result, examination& found)
{
    const result_paths paths(result);
    const auto sealed_part = [&paths] {
        tree_state state = state_of_tree(paths.root());
        state.removeIf([&paths](const tree_state::iterator& item) {
            return item.key().startsWith(paths.relative(paths.verifications())) ||
                   item.key() == relative_place(product::report).toUtf8() ||
                   item.key() == paths.relative(paths.products());
        });
        return state;
    };
    const tree_state before = sealed_part();
    const child_ending ending = verify(ground, result);
    found.expect(ending.exit_code == exit_code::whole, ending.words());
    compare_content(before, sealed_part(), found);
}

void try_damages(const self_test_ground& ground, const QString& result, statement_list& statements)
{
    QList<damage> damages;
    statements.judge(QStringLiteral("the run left something to damage"), [&](examination& found) {
        damages = damages_of(ground, result);
        found.expect(!damages.isEmpty(), QStringLiteral("nothing to damage"));
    });
    for (const damage& what : damages) {
        statements.judge(QLatin1String(what.text),
                         [&](examination& found) { judge_damage(ground, result, what, found); });
    }
    statements.judge(QStringLiteral("a seal made anew is found by the root hash"),
                     [&](examination& found) { judge_new_seal(ground, result, found); });
    statements.judge(QStringLiteral("nothing is found once the damage is undone"), [&](examination& found) {
        const child_ending ending = verify(ground, result);
        found.expect(ending.exit_code == exit_code::whole, ending.words());
    });
}
