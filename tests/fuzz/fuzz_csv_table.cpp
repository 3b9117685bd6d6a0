#include "host/cases/sources_csv.h"
#include "host/text/failure.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

std::optional<source_list> sources_in(const QByteArray& text)
{
    try {
        return sources_from(text, QStringLiteral("sources.csv"));
    } catch (const failure&) {
        return std::nullopt;
    }
}

/// A written table is read as it was.
void write_and_read(const csv_table& table)
{
    csv_table again;
    QString error;
    require(read_csv(csv_text(table), again, error) && again.header == table.header);
    require(again.has_byte_order_mark == table.has_byte_order_mark && again.rows.size() == table.rows.size());
    for (qsizetype i = 0; i < table.rows.size(); ++i) {
        require(again.rows[i].fields == table.rows[i].fields);
    }
}

/// An added source is there, and all others stay what they were.
void add_and_read(source_list sources)
{
    const source_row added{std::nullopt, QStringLiteral("EV;1,\"2\""), QStringLiteral("/mnt/\n x"), {}, 0};
    append_source(sources, added);
    set_index(sources, sources.rows.last().line, 2'000'000'000);
    const auto again = sources_in(csv_text(sources.table));
    require(!again || again->rows.size() == sources.rows.size());
    for (qsizetype i = 0; again && i < sources.rows.size(); ++i) {
        require(again->rows[i].source == sources.rows[i].source && again->rows[i].index == sources.rows[i].index);
        require(again->rows[i].notes == sources.rows[i].notes);
    }
    // Only an index that a row has already stands against it.
    require(again || std::any_of(sources.rows.begin(), sources.rows.end() - 1,
                                 [](const source_row& row) { return row.index == 2'000'000'000; }));
}

} // namespace

fuzz_plan plan()
{
    return {1024,
            {"index", "evidence_number", "source", "notes", "\"\"", "\r\n", "\xEF\xBB\xBF", ";", "\t", "2000000000"},
            {"index,evidence_number,source,notes\n1,EV-1,../a,x\n2,,\"/b, \"\"c\"\"\",\n",
             "\xEF\xBB\xBFSource;Index;shelf\r\n/mnt/a,b;7\r\n;;\r\n", "index\tsource\r1\t/a\r"}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray text = bytes_of(data, size);
    csv_table table;
    QString error;
    if (!read_csv(text, table, error)) {
        require(!error.isEmpty());
        return 0;
    }
    write_and_read(table);
    if (const auto sources = sources_in(text)) {
        require(sources->rows.size() == sources->table.rows.size());
        add_and_read(*sources);
    }
    return 0;
}
