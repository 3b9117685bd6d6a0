#include "sample/sample_cast.h"

#include "sample/sample_random.h"

#include <array>

namespace {

enum kind_index : std::size_t
{
    icloud,
    own_imap,
    google,
    own_pop,
    live_pop,
    exchange,
    kind_count
};

constexpr std::array<mail_account_kind, kind_count> kinds{{
    {"com.apple.account.AppleAccount", "com.apple.account.IMAPMail", "IMAP", 993, "imap.mail.me.com", "", "iCloud"},
    {"", "com.apple.account.IMAP", "IMAP", 993, "imap.%1", "", ""},
    {"com.apple.account.Google", "com.apple.account.IMAP", "IMAP", 993, "imap.gmail.com", "", "Google"},
    {"", "com.apple.account.POP", "POP", 995, "pop.%1", "", ""},
    {"", "com.apple.account.POP", "POP", 995, "pop3.live.com", "live.com", "Outlook"},
    {"com.apple.account.Exchange", "com.apple.account.Exchange", "EWS", 443, "mail.%1", "", "Exchange"},
}};

struct fixed_user
{
    const char16_t* odd_name;
    const char* plain_name;
    const char16_t* full_name;
    const char* login;
    QList<int> mail_versions;
    account_stores stores;
    bool shared_memory_file;
    bool binary_persistence_info;
    std::array<kind_index, kind_count> kind_order;
};

const std::array<fixed_user, 4>& fixed_users()
{
    static const std::array<fixed_user, 4> users{{
        {u"anna",
         "anna",
         u"Anna Keller",
         "anna.keller",
         {10},
         account_stores::accounts4,
         true,
         false,
         {icloud, own_imap, google, own_pop, exchange, live_pop}},
        {u"ben o'neill",
         "ben",
         u"Ben O'Neill",
         "ben.oneill",
         {9, 8, 7, 6},
         account_stores::both,
         false,
         false,
         {google, own_imap, exchange, own_pop, icloud, live_pop}},
        {u"ju\u0308rgen",
         "juergen",
         u"J\u00fcrgen Sample",
         "juergen.sample",
         {5, 3},
         account_stores::accounts3,
         true,
         true,
         {own_imap, own_pop, live_pop, google, exchange, icloud}},
        {u"zo\u00eb",
         "zoe",
         u"Zo\u00eb Muster",
         "zoe.muster",
         {8},
         account_stores::none,
         false,
         false,
         {own_imap, own_pop, icloud, google, live_pop, exchange}},
    }};
    return users;
}

QList<sample_mail_account> cast_accounts(const sample_user& user, const std::array<kind_index, kind_count>& order,
                                         const sample_options& options)
{
    const QStringList domains{QStringLiteral("example.org"), QStringLiteral("example.com"),
                              QStringLiteral("example.net")};
    sample_random random(options.seed, QStringLiteral("accounts/") + user.login);
    QList<sample_mail_account> accounts;
    for (int i = 0; i < options.accounts_per_user; ++i) {
        const mail_account_kind& kind = kinds[order[static_cast<std::size_t>(i) % kind_count]];
        sample_mail_account account{};
        account.kind = &kind;
        const auto round = i / domains.size();
        account.login = round == 0 ? user.login : user.login + QString::number(round + 1);
        account.domain = *kind.domain ? QString::fromLatin1(kind.domain) : domains[i % domains.size()];
        account.host = QString::fromLatin1(kind.host).replace(QStringLiteral("%1"), account.domain);
        account.identifier = random.uuid();
        if (*kind.provider_type) {
            account.provider_identifier = random.uuid();
        }
        account.only_in_log = user.stores != account_stores::none && i > 0 && i + 1 == options.accounts_per_user;
        accounts.append(account);
    }
    return accounts;
}

sample_user cast_fixed_user(const fixed_user& fixed, const sample_options& options)
{
    sample_user user{options.odd_names ? QString::fromUtf16(fixed.odd_name) : QString::fromLatin1(fixed.plain_name),
                     QString::fromUtf16(fixed.full_name),
                     QString::fromLatin1(fixed.login),
                     fixed.mail_versions,
                     fixed.stores,
                     fixed.shared_memory_file,
                     fixed.binary_persistence_info,
                     {}};
    user.accounts = cast_accounts(user, fixed.kind_order, options);
    return user;
}

sample_user cast_drawn_user(int number, const sample_options& options)
{
    static const QStringList first_names{QStringLiteral("mara"),  QStringLiteral("tomas"), QStringLiteral("ines"),
                                         QStringLiteral("oskar"), QStringLiteral("lena"),  QStringLiteral("pavel")};
    static const QStringList last_names{QStringLiteral("placeholder"), QStringLiteral("specimen"),
                                        QStringLiteral("muster"), QStringLiteral("example")};
    static const QList<QList<int>> mixes{{10, 9}, {9}, {9, 8}, {8, 7}, {7, 6, 5}, {6, 4}, {4, 3}, {10}, {8, 4}, {5}};
    sample_random random(options.seed, QStringLiteral("user/%1").arg(number));
    const QString first = random.pick(first_names);
    const QString last = random.pick(last_names);
    const QList<int>& versions = random.pick(mixes);

    sample_user user{};
    user.login = QStringLiteral("%1.%2%3").arg(first, last).arg(number);
    user.name = user.login;
    if (options.odd_names && random.below(4) == 0) {
        user.name.replace(u'.', u' ');
    }
    user.full_name = first.left(1).toUpper() + first.mid(1) + u' ' + last.left(1).toUpper() + last.mid(1);
    user.mail_versions = versions;
    user.stores = versions.first() < 6 ? account_stores::accounts3 : account_stores::accounts4;
    user.shared_memory_file = random.below(2) == 0;
    user.binary_persistence_info = random.below(2) == 0;
    std::array<kind_index, kind_count> order{};
    const int start = random.below(kind_count);
    for (std::size_t i = 0; i < kind_count; ++i) {
        order[i] = static_cast<kind_index>((i + static_cast<std::size_t>(start)) % kind_count);
    }
    user.accounts = cast_accounts(user, order, options);
    return user;
}

} // namespace

QString sample_mail_account::description() const
{
    return *kind->description ? QString::fromLatin1(kind->description) : domain;
}

QList<sample_user> cast_sample_users(const sample_options& options)
{
    QList<sample_user> users;
    for (int i = 0; i < options.users; ++i) {
        const auto index = static_cast<std::size_t>(i);
        users.append(index < fixed_users().size() ? cast_fixed_user(fixed_users()[index], options)
                                                  : cast_drawn_user(i + 1, options));
    }
    return users;
}

bool is_named_by_identifier(const sample_user& user, qsizetype account, int mail_version)
{
    const bool stands_alone = user.accounts[account].provider_identifier.isEmpty();
    if (mail_version <= 4) {
        return false;
    }
    if (mail_version == 5) {
        return account % 2 == 1;
    }
    // Folders that an upgrade carried over keep their old names.
    return !stands_alone || (mail_version >= 8 && user.stores != account_stores::none);
}

QString account_folder_name(const sample_user& user, qsizetype index, int mail_version)
{
    const sample_mail_account& account = user.accounts[index];
    if (is_named_by_identifier(user, index, mail_version)) {
        return account.identifier;
    }
    const QString prefix = QString::fromLatin1(account.kind->prefix) + u'-';
    const bool own_host = account.host.contains(account.domain);
    if (own_host && prefix == u"IMAP-" && mail_version % 3 == 1) {
        return prefix + account.address();
    }
    const bool full_address = prefix == u"IMAP-" && (!own_host || mail_version % 3 == 2);
    return prefix + (full_address ? account.address() : account.login) + u'@' + account.host;
}
