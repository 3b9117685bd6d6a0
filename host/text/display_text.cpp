#include "host/text/display_text.h"

#include "host/text/utf8.h"

#include <QList>

#include <algorithm>
#include <array>

namespace {

/// True for what a terminal or a page would not show as itself: controls, line separators, and the marks that are
/// invisible or turn the writing direction, with which one name can be made to look like another.
bool is_unshowable(char32_t character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Other_NotAssigned:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

QString escaped(char32_t character)
{
    switch (character) {
    case U'\n':
        return QStringLiteral("\\n");
    case U'\r':
        return QStringLiteral("\\r");
    case U'\t':
        return QStringLiteral("\\t");
    default:
        return QStringLiteral("\\u{%1}").arg(uint(character), 4, 16, QLatin1Char('0'));
    }
}

enum class backslash
{
    kept,
    doubled
};

void append_decoded(QString& shown, const QString& text, backslash handling)
{
    const QList<uint> characters = text.toUcs4();
    for (const char32_t character : characters) {
        if (character == U'\\' && handling == backslash::doubled) {
            shown += QStringLiteral("\\\\");
        } else if (is_unshowable(character)) {
            shown += escaped(character);
        } else {
            shown += QString::fromUcs4(&character, 1);
        }
    }
}

/// True for ASCII that is shown as it is: nearly every name there is, and there are millions.
bool is_plain(char character)
{
    return character >= ' ' && character <= '~' && character != '\\';
}

} // namespace

QString display_text(const QByteArray& raw)
{
    if (std::all_of(raw.begin(), raw.end(), is_plain)) {
        return QString::fromLatin1(raw);
    }
    QString shown;
    shown.reserve(raw.size());
    qsizetype valid_from = 0;
    const auto flush = [&](qsizetype until) {
        append_decoded(shown, text_from_utf8(QByteArrayView(raw).sliced(valid_from, until - valid_from)),
                       backslash::doubled);
    };
    for (qsizetype position = 0; position < raw.size();) {
        const qsizetype length = utf8_character_length(raw, position);
        if (length > 0) {
            position += length;
            continue;
        }
        flush(position);
        shown += QStringLiteral("\\x%1").arg(uint(static_cast<unsigned char>(raw[position])), 2, 16, QLatin1Char('0'));
        valid_from = ++position;
    }
    flush(raw.size());
    return shown;
}

QByteArray display_utf8(const QByteArray& raw)
{
    return std::all_of(raw.begin(), raw.end(), is_plain) ? raw : display_text(raw).toUtf8();
}

QString display_text(const QString& text)
{
    const auto is_plain_ascii = [](QChar character) { return character >= u' ' && character <= u'~'; };
    if (std::all_of(text.begin(), text.end(), is_plain_ascii)) {
        return text;
    }
    QString shown;
    append_decoded(shown, text, backslash::kept);
    return shown;
}

QString display_bytes(qint64 bytes)
{
    static constexpr std::array units = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
    double amount = double(bytes);
    std::size_t unit = 0;
    // 999.95 would be written as 1000.0.
    for (; amount >= (unit == 0 ? 1000.0 : 999.95) && unit + 1 < units.size(); ++unit) {
        amount /= 1000.0;
    }
    return QStringLiteral("%1 %2").arg(QString::number(amount, 'f', unit == 0 ? 0 : 1), QLatin1String(units[unit]));
}

QString display_number(qint64 number)
{
    QString digits = QString::number(number);
    for (qsizetype position = digits.size() - 3; position > (number < 0 ? 1 : 0); position -= 3) {
        digits.insert(position, QLatin1Char(','));
    }
    return digits;
}

QString display_time(const QDateTime& time)
{
    return time.isValid() ? time.toUTC().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")) + QStringLiteral(" UTC")
                          : QStringLiteral("not known");
}
