#include "host/run/user_choice.h"

#include "host/extraction/extraction.h"
#include "host/source/access_advice.h"
#include "host/source/source_hint.h"
#include "host/terminal/command_failure.h"
#include "host/terminal/exit_codes.h"

#include <QFile>

#include <algorithm>

namespace {

constexpr qsizetype most_named = 5;

bool same_name(const QString& left, const QString& right)
{
    return left.normalized(QString::NormalizationForm_C) == right.normalized(QString::NormalizationForm_C);
}

/// Returns the spellings of the known names that `wanted` means: its own if there is one.
QStringList meant(const QString& wanted, const QList<source_user>& known)
{
    QStringList alike;
    for (const source_user& user : known) {
        if (user.name == wanted) {
            return {wanted};
        }
        if (same_name(user.name, wanted)) {
            alike += user.name;
        }
    }
    return alike;
}

QString joined(const QStringList& texts)
{
    const qsizetype left_out = texts.size() - most_named;
    return texts.mid(0, most_named).join(QStringLiteral(", ")) +
           (left_out > 0 ? QStringLiteral(" and %1 more").arg(left_out) : QString());
}

QString line_of_blocked(const std::vector<blocked_look>& blocked)
{
    QStringList places;
    std::set<int> numbers;
    for (const blocked_look& look : blocked) {
        places += look.text();
        numbers.insert(look.error_number);
    }
    const QStringList advice = access_advice(numbers);
    return QStringLiteral("could not be looked at: ") + joined(places) +
           (advice.isEmpty() ? QString() : QStringLiteral("; ") + advice.join(QStringLiteral("; ")));
}

[[noreturn]] void refuse_unknown(const QString& name, const QString& source_root,
                                 const std::optional<blocked_look>& blocked)
{
    if (!blocked) {
        refuse(QStringLiteral("no user %1: %2Users has no such directory").arg(name, source_root));
    }
    throw command_failure(exit_code::with_failures, QStringLiteral("%1: no user %2 is seen, and nothing was done; %3")
                                                        .arg(source_root, name, line_of_blocked({*blocked})));
}

/// Takes those who are asked for out of the list; a home may be there for one who knows its name, though "Users" gives
/// no list of them.
QList<source_user> take(source_users& known, const run_options& options, const QString& source_root)
{
    const QByteArray source = QFile::encodeName(source_root);
    QStringList wanted;
    for (const QString& name : options.users) {
        const QStringList spellings = meant(name, known.users);
        const QByteArray directory = QFile::encodeName(name);
        if (!spellings.isEmpty()) {
            wanted += spellings;
        } else if (known.blocked && !name.contains(u'/') && !name.startsWith(u'.') &&
                   look_for_directory(source, "Users/" + directory).found == presence::present) {
            known.users.append(look_at_user(source, directory));
            wanted += name;
        } else {
            refuse_unknown(name, source_root, known.blocked);
        }
    }
    QList<source_user> taken;
    for (const source_user& user : known.users) {
        if (wanted.contains(user.name)) {
            taken.append(user);
        }
    }
    erase_if(known.users, [&wanted](const source_user& user) { return wanted.contains(user.name); });
    return taken;
}

/// Removes the users that the plug-in cannot be told of, and returns a line that names them.
QString without_unreachable(QList<source_user>& users)
{
    QStringList names;
    for (const source_user& user : users) {
        if (!user.is_reachable) {
            names.append(user.name);
        }
    }
    erase_if(users, [](const source_user& user) { return !user.is_reachable; });
    return names.isEmpty() ? QString()
                           : QStringLiteral("left out, because their names are not UTF-8: the users ") +
                                 names.join(QStringLiteral(", "));
}

[[noreturn]] void refuse_without_mail(const QString& source_root)
{
    const QString hint = source_hint(QFile::encodeName(source_root));
    throw command_failure(exit_code::no_mail_directory,
                          QStringLiteral("no Mail directory found below %1Users: no user has a Library/Mail%2")
                              .arg(source_root, hint.isEmpty() ? QString() : QStringLiteral("; ") + hint));
}

} // namespace

user_choice choose_users(const run_options& options, const QString& source_root)
{
    source_users known = list_source_users(QFile::encodeName(source_root));
    user_choice choice;
    std::vector<blocked_look> blocked;
    if (options.users.isEmpty()) {
        choice.users = known.users;
        if (known.blocked) {
            blocked.push_back(*known.blocked);
        }
    } else {
        choice.users = take(known, options, source_root);
        for (const source_user& user : known.users) {
            choice.passed_over += user.name;
        }
    }
    for (const source_user& user : choice.users) {
        blocked.insert(blocked.end(), user.blocked.begin(), user.blocked.end());
    }
    QStringList lines{without_unreachable(choice.users)};
    if (!blocked.empty()) {
        lines += line_of_blocked(blocked);
    }
    lines.removeAll(QString());
    choice.shortcomings = lines.join(QStringLiteral("; "));
    const auto may_have_mail = [](const source_user& user) { return user.mail_directory != presence::absent; };
    const bool has_mail = std::any_of(choice.users.begin(), choice.users.end(), may_have_mail);
    if (has_mail || options.scheme != macos_scheme) {
        return choice;
    }
    if (choice.shortcomings.isEmpty()) {
        refuse_without_mail(source_root);
    }
    throw command_failure(exit_code::with_failures,
                          QStringLiteral("%1: no Mail directory is seen, and nothing was done; %2")
                              .arg(source_root, choice.shortcomings));
}
