#pragma once

#include "host/completeness/mail_index.h"
#include "host/completeness/mail_stores.h"
#include "host/completeness/reconciliation.h"
#include "host/files/content_place.h"

#include <QHash>

#include <memory>
#include <vector>

/// Where a mailbox lies.
struct mailbox_identity
{
    QByteArray user;
    QByteArray mail_version; ///< the version directory's name, "V10"; empty for mail directly in the Mail directory
    QByteArray account;      ///< the account's folder; where there is none, what the index calls it
    QByteArray mailbox;      ///< "Archive/2019"; empty for messages that lie in none

    bool operator==(const mailbox_identity&) const = default;
};

/// One mailbox in figures.
struct mailbox_line
{
    QByteArray account;
    QByteArray mailbox;
    bool is_label = false;    ///< counts messages that lie in another mailbox; no part of any total
    bool has_folder = false;  ///< there is a folder for it on disk
    bool is_in_index = false; ///< the index lists it
    completeness_figures figures;
};

/// What became of an index.
enum class index_state
{
    absent, ///< there is no index; what is on disk is compared with nothing
    read,
    incomplete, ///< read as far as it could be
    refused     ///< there is one, and nothing of it could be read
};

struct index_record
{
    QByteArray path; ///< below the source
    index_state state = index_state::absent;
    QString problem; ///< why it was refused
    index_schema schema;
    qint64 rows = 0;                   ///< messages read from it
    std::optional<qint64> rows_stated; ///< how many it counts itself
};

/// One account as its folder and the index bear witness to it.
struct account_witness
{
    QByteArray account;
    bool has_folder = false;
    bool has_address = false; ///< some mailbox of the index belongs to it
    QString setting;          ///< whether it is set to keep messages on this Mac; empty where that is not known
};

/// One store of mail: a version directory, or what older releases keep directly in the Mail directory.
struct store_completeness
{
    QByteArray user;
    QByteArray mail_version;
    index_record index;
    std::vector<mailbox_line> mailboxes; ///< sorted by account and mailbox, a label after a mailbox of its name
    std::vector<account_witness> accounts;
    completeness_figures totals; ///< of the mailboxes that are no labels
    qint64 pairs = 0;            ///< messages on disk in both forms
    qint64 repeated = 0;         ///< files whose number another file of their mailbox bears
    qint64 dangling_labels = 0;  ///< labels of messages that the index does not have
    QStringList notes;           ///< what could not be looked at, a line each
    QStringList links;           ///< links that were not followed and lead nowhere else, a line each
    QStringList not_closing;     ///< sums that do not close, a line each; empty as it must be
};

/// A message that the index has and the disk has not.
struct index_only_message
{
    const mailbox_identity& mailbox;
    const index_message& message;
    QByteArray other_file; ///< a file of its number without a row, in another mailbox: maybe it was moved; may be empty
};

/// A message on disk that the index has not, or that is not readable.
struct disk_message
{
    const mailbox_identity& mailbox;
    QByteArray path; ///< below the source
    qint64 number;   ///< -1 when the file's name is none
    bool is_partial;
    bool is_indexed;
    QString problem;      ///< why it is not readable as a message; empty when it is
    QByteArray other_row; ///< the mailbox of a row of its number that has no file; may be empty
};

/// Takes the messages that are not in both places, one after the other.
class completeness_sink
{
public:
    virtual ~completeness_sink() = default;
    virtual void add_index_only(const index_only_message& message) = 0;
    /// Takes a readable file without a row, or any file that is not readable.
    virtual void add_disk_message(const disk_message& message) = 0;
    virtual void add_absent_attachment(const mailbox_identity& mailbox, const QByteArray& path,
                                       const emptied_part& part) = 0;
};

struct completeness_request
{
    QByteArray source;
    QByteArray user;
    QByteArray mail_directory; ///< below the source, "Users/anna/Library/Mail"
    QString scratch;           ///< directory outside the source for copies of an index, which go again
    evidence_limits limits = index_limits();
    content_place copy_of = {}; ///< where messages and index need not be read in the source; names are always its own
    qint64 most_messages = 0;   ///< about so many are there, or fewer; 0 when nobody knows
    content_knowledge begins_as_message = {}; ///< which files judge_message_head() found no problem in already
    std::function<void(qint64 messages)> looked_into = {}; ///< is told now and then how many more were; may be empty

    /// Returns limits for an index: it may have several gigabytes.
    static evidence_limits index_limits();
};

class store_search;

/// The comparison of the files of each store of one user's Mail directory with that store's index, which is only opened
/// as a copy.
class completeness_check
{
public:
    explicit completeness_check(completeness_request request);
    ~completeness_check();
    completeness_check(const completeness_check&) = delete;
    completeness_check& operator=(const completeness_check&) = delete;

    /// Begins to look for the messages of the first store, beside the caller; opens no database. What it calls of the
    /// request's is then called by another thread.
    void begin();
    /// Compares each store; to be called once. `settings` say whether accounts are set to keep their messages on this
    /// Mac, by the account's identifier in upper case.
    std::vector<store_completeness> complete(const QHash<QByteArray, QString>& settings, completeness_sink& sink);

private:
    const completeness_request request;
    std::vector<mail_store> stores;
    bool leads_outside = false; ///< the Mail directory does
    std::unique_ptr<store_search> first;
};

/// Makes the whole comparison at once, of accounts of which no settings are known.
std::vector<store_completeness> check_completeness(const completeness_request& request, completeness_sink& sink);
