#include "host/row_check/row_check.h"

#include "host/result/result_database.h"
#include "host/text/display_text.h"
#include "support/shared_texts.h"

#include <algorithm>
#include <tuple>

namespace {

constexpr qsizetype most_lines = 20;

/// The rows of a result, by what tells them apart; each is taken by one that was expected.
class rows_there
{
public:
    explicit rows_there(const result_paths& result)
    {
        const result_database database(result);
        checked_rows rows = database.query(QStringLiteral("SELECT system_user, coalesce(account_type, '') = '', "
                                                          "dest_path, CAST(files_copied AS INTEGER) FROM %1")
                                               .arg(shared_texts::accounts_table));
        while (rows.next()) {
            const QString user = rows.value(0).toString();
            files[{user, rows.value(1).toBool(), place_of(rows.value(2).toString(), user)}].append(
                rows.value(3).toLongLong());
        }
    }

    /// Takes a row that tells of the folder, one with the expected number of files if there is one, and returns the
    /// number it has; nothing without a row.
    std::optional<qint64> take(const expected_row& row, const expected_folder& folder)
    {
        const auto found = files.find({row.user, row.is_of_store, folder.place});
        if (found == files.end() || found->second.isEmpty()) {
            return std::nullopt;
        }
        const qsizetype fitting = folder.files ? found->second.indexOf(*folder.files) : 0;
        return found->second.takeAt(std::max(qsizetype(0), fitting));
    }

private:
    /// Returns what stands behind the dated folder; the day is another one behind midnight.
    static QString place_of(const QString& row_folder, const QString& user)
    {
        const QString dated = shared_texts::plugin_directory + QLatin1Char('/') +
                              shared_texts::dated_folder(shared_texts::artifact_folder, user, QString());
        const qsizetype found = row_folder.indexOf(dated);
        return found < 0 ? row_folder : row_folder.mid(found + dated.size() + shared_texts::date_format.size());
    }

    std::map<std::tuple<QString, bool, QString>, QList<qint64>> files;
};

/// Lines of which there may be very many.
class line_list
{
public:
    void add(const QString& line)
    {
        if (++count <= most_lines) {
            lines.append(line);
        }
    }

    QStringList whole() const
    {
        const QString rest = QStringLiteral("and of %1 more account folders the rows are not as they should be");
        return count > most_lines ? lines + QStringList(rest.arg(display_number(count - most_lines))) : lines;
    }

private:
    QStringList lines;
    qsizetype count = 0;
};

void check(const expected_row& row, rows_there& there, line_list& lines)
{
    const QString user = display_text(row.user);
    for (const expected_folder& folder : row.folders) {
        const std::optional<qint64> files = there.take(row, folder);
        if (!files) {
            continue;
        }
        if (folder.files && *files != *folder.files) {
            lines.add(
                QStringLiteral("%1: its row tells of %2 files, and its copy takes %3 (user %4)")
                    .arg(display_text(folder.path), QString::number(*files), QString::number(*folder.files), user));
        }
        return;
    }
    lines.add(QStringLiteral("%1: no row for it%2 (user %3)")
                  .arg(display_text(row.folders.front().path),
                       row.is_of_store ? QStringLiteral(", though the account store knows its account") : QString(),
                       user));
}

} // namespace

QStringList problems_of_rows(const row_check_request& request, const result_paths& result)
{
    row_expectation expectation = expect_rows(request);
    // Who has one folder only must not lose its row to one who has a choice.
    std::stable_sort(
        expectation.rows.begin(), expectation.rows.end(),
        [](const expected_row& left, const expected_row& right) { return left.folders.size() < right.folders.size(); });
    rows_there there(result);
    line_list lines;
    for (const expected_row& row : expectation.rows) {
        check(row, there, lines);
    }
    return expectation.problems + lines.whole();
}
