#include "host/verify/findings_file.h"

#include "host/result/manifest_fields.h"
#include "host/terminal/console.h"
#include "host/text/csv.h"
#include "host/text/display_text.h"

namespace {

constexpr qsizetype most_told = 20;

} // namespace

findings_file::findings_file(const QString& path)
{
    if (!path.isEmpty()) {
        file.emplace(path);
        file->write(csv_line({"place", "path", "finding"}));
    }
}

void findings_file::add(const finding& found)
{
    const char* place = finding_place_names[static_cast<std::size_t>(found.place)];
    if (file) {
        file->write(csv_line({place, percent_encoded_cell(found.path), percent_encoded_cell(found.reason)}));
    }
    if (++count <= most_told) {
        first.append(QStringLiteral("%1: %2: %3")
                         .arg(QLatin1String(place), manifest_text(found.path), manifest_text(found.reason)));
    }
}

void findings_file::tell() const
{
    for (const QString& line : first) {
        complain(line);
    }
    if (count > first.size()) {
        complain(QStringLiteral("... and %1 more").arg(display_number(count - first.size())));
    }
}

void findings_file::commit()
{
    if (file) {
        file->commit();
    }
}
