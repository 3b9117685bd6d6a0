#include "host/source/source_hint.h"

#include "host/files/file_tree.h"
#include "host/files/quiet_reading.h"
#include "host/text/display_text.h"

#include <algorithm>
#include <array>

namespace {

constexpr const char* archive_words = "%1 is an archive: unpack it and name the folder that then holds \"Users\"";
constexpr const char* image_words = "%1 is a disk image: mount it read-only and name the mount point that then holds "
                                    "\"Users\"";

struct container_kind
{
    const char* ending; ///< of the name, in lower case
    const char* words;
};

constexpr std::array container_kinds = {
    container_kind{".zip", archive_words},        container_kind{".tar", archive_words},
    container_kind{".tgz", archive_words},        container_kind{".tar.gz", archive_words},
    container_kind{".tar.xz", archive_words},     container_kind{".tar.bz2", archive_words},
    container_kind{".7z", archive_words},         container_kind{".rar", archive_words},
    container_kind{".ad1", archive_words},        container_kind{".l01", archive_words},
    container_kind{".dmg", image_words},          container_kind{".sparseimage", image_words},
    container_kind{".sparsebundle", image_words}, container_kind{".e01", image_words},
    container_kind{".ex01", image_words},         container_kind{".aff", image_words},
    container_kind{".aff4", image_words},         container_kind{".dd", image_words},
    container_kind{".raw", image_words},          container_kind{".img", image_words},
    container_kind{".bin", image_words},          container_kind{".001", image_words},
    container_kind{".iso", image_words},          container_kind{".vmdk", image_words},
    container_kind{".vdi", image_words},          container_kind{".qcow2", image_words},
};

/// Returns an argument as it is typed into a shell.
QString typed(const QByteArray& path)
{
    const QString shown = display_text(path);
    const bool is_plain = std::all_of(shown.begin(), shown.end(), [](QChar character) {
        return character.isLetterOrNumber() || QStringLiteral("/._-+@:,").contains(character);
    });
    return is_plain ? shown : QLatin1Char('\'') + QString(shown).replace(u'\'', QStringLiteral("'\\''")) + u'\'';
}

QString type_instead(const QByteArray& path)
{
    return QStringLiteral("type --source %1").arg(typed(path));
}

QByteArray name_of(const QByteArray& path)
{
    return path.mid(path.lastIndexOf('/') + 1);
}

QByteArray parent_of(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArray("/") : path.left(slash);
}

QString container_hint(const QByteArray& source)
{
    const QByteArray name = name_of(source).toLower();
    for (const container_kind& kind : container_kinds) {
        if (name.endsWith(kind.ending)) {
            return QLatin1String(kind.words).arg(display_text(name_of(source)));
        }
    }
    return {};
}

/// The names by which a level below the right one is known, with how far above it the right one lies.
struct lower_level
{
    const char* name;
    const char* content; ///< what must lie in it; empty for anything
    int levels;
    const char* words;
};

constexpr std::array lower_levels = {
    lower_level{"Users", "", 1, "this is \"Users\" itself"},
    lower_level{"Mail", "", 4, "this is a user's Mail directory"},
    lower_level{"Library", "", 3, "this is a user's Library"},
    lower_level{"", "Library", 2, "this is a user's home directory"},
};

QString lower_level_hint(const QByteArray& source)
{
    for (const lower_level& level : lower_levels) {
        const bool is_named = *level.name == '\0' || name_of(source) == level.name;
        if (!is_named || !is_directory(child_path(source, level.content))) {
            continue;
        }
        QByteArray above = source;
        QByteArray users = source;
        for (int i = 0; i < level.levels; ++i) {
            users = above;
            above = parent_of(above);
        }
        if (name_of(users) == "Users") {
            return QStringLiteral("%1: %2").arg(QLatin1String(level.words), type_instead(above));
        }
        if (level.levels > 1) {
            return QStringLiteral("%1: name the folder in which the home lies as Users/NAME")
                .arg(QLatin1String(level.words));
        }
    }
    // Deeper than these a home has no place for a whole source.
    QByteArray library = source;
    while (library.size() > 1 && name_of(library) != "Library") {
        library = parent_of(library);
    }
    const QByteArray users = parent_of(parent_of(library));
    return name_of(users) == "Users"
               ? QStringLiteral("this lies in a user's Library: ") + type_instead(parent_of(users))
               : QString();
}

/// Looks for the level that holds "Users" in what lies directly below.
QString upper_level_hint(const QByteArray& source)
{
    for (const char* below : {"System/Volumes/Data", "Volumes/Data", "Data"}) {
        const QByteArray data = child_path(source, below);
        if (is_directory(child_path(data, "Users"))) {
            return QStringLiteral("the users' data are on the volume below: ") + type_instead(data);
        }
    }
    const directory_listing listing = quiet_list(source);
    for (const named_entry& entry : listing.entries) {
        const QByteArray path = child_path(source, entry.name);
        if (entry.facts.kind == entry_kind::directory && entry.name != "Users" && entry.name.toLower() == "users" &&
            !is_directory(child_path(source, "Users"))) {
            return QStringLiteral("there is %1, but users are looked for in \"Users\": unpack or mount it with the "
                                  "spelling of the Mac")
                .arg(typed(path));
        }
    }
    for (const named_entry& entry : listing.entries) {
        const QByteArray path = child_path(source, entry.name);
        if (entry.facts.kind != entry_kind::directory) {
            continue;
        }
        for (const QByteArray& level : {path, child_path(path, "System/Volumes/Data")}) {
            if (is_directory(child_path(level, "Users"))) {
                return QStringLiteral("\"Users\" lies one level below: ") + type_instead(level);
            }
        }
    }
    return {};
}

} // namespace

QString source_hint(const QByteArray& source)
{
    const QByteArray resolved = resolved_path(source);
    if (resolved.isEmpty()) {
        return {};
    }
    QString hint = container_hint(resolved);
    if (hint.isEmpty() && is_directory(resolved)) {
        hint = lower_level_hint(resolved);
        if (hint.isEmpty()) {
            hint = upper_level_hint(resolved);
        }
    }
    return hint;
}
