#include "host/completeness/store_notes.h"

#include "host/files/file_tree.h"
#include "host/text/display_text.h"

namespace {

// Of each kind; a directory full of links must not fill a report.
constexpr qsizetype most_lines = 100;

/// Takes lines up to a number, and then counts.
class bounded_lines
{
public:
    explicit bounded_lines(QStringList& target) : lines(target) {}
    ~bounded_lines()
    {
        if (more > 0) {
            lines.append(QStringLiteral("and %1 more").arg(display_number(more)));
        }
    }
    Q_DISABLE_COPY_MOVE(bounded_lines)

    void add(const QByteArray& path, const QString& text)
    {
        if (lines.size() < most_lines) {
            lines.append(QStringLiteral("%1: %2").arg(display_text(path), text));
        } else {
            ++more;
        }
    }

private:
    QStringList& lines;
    qint64 more = 0;
};

} // namespace

QByteArray path_below(const QByteArray& source, const QByteArray& path)
{
    const QByteArray prefix = child_path(source, {});
    return path.startsWith(prefix) ? path.mid(prefix.size()) : path;
}

void add_notes(const mail_files& files, const mail_store& store, const QByteArray& source, store_completeness& result)
{
    {
        bounded_lines lines(result.notes);
        for (const walk_note& note : files.notes) {
            const QByteArray path = note.path.isEmpty() ? store.root : child_path(store.root, note.path);
            lines.add(path_below(source, path), note.reason);
        }
    }
    std::vector<QByteArray> links;
    for (const QByteArray& link : files.links) {
        links.push_back(child_path(store.root, link));
    }
    note_links(links, source, result);
}

void note_links(const std::vector<QByteArray>& links, const QByteArray& source, store_completeness& result)
{
    const QByteArray resolved_source = resolved_path(source);
    bounded_lines faults(result.notes);
    bounded_lines harmless(result.links);
    for (const QByteArray& link : links) {
        const QString text = QStringLiteral("is a link to %1, not followed").arg(display_text(link_text(link)));
        const QByteArray target = resolved_path(link);
        if (target.isEmpty() && quiet_stat(link, link_handling::follow).kind != entry_kind::absent) {
            faults.add(path_below(source, link), text + QStringLiteral("; it cannot be resolved"));
        } else if (!target.isEmpty() && !is_at_or_below(target, resolved_source)) {
            faults.add(path_below(source, link), text + QStringLiteral("; it leads out of the source"));
        } else {
            harmless.add(path_below(source, link), text);
        }
    }
}
