#pragma once

#include <QByteArray>
#include <QString>
#include <QStringDecoder>
#include <QUtf8StringView>

/// Returns how many of the bytes from `position` on form one UTF-8 character; 0 when they form none.
inline qsizetype utf8_character_length(const QByteArray& bytes, qsizetype position)
{
    const auto first = static_cast<unsigned char>(bytes[position]);
    const qsizetype length = first < 0x80 ? 1 : first < 0xC0 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (length == 0 || position + length > bytes.size()) {
        return 0;
    }
    return QUtf8StringView(bytes.constData() + position, length).isValidUtf8() ? length : 0;
}

/// True when all of the bytes form UTF-8 characters.
inline bool is_utf8(const QByteArray& bytes)
{
    return QUtf8StringView(bytes.constData(), bytes.size()).isValidUtf8();
}

/// Returns UTF-8 as text. QString::fromUtf8() drops a byte order mark at the beginning, with which a name may begin.
inline QString text_from_utf8(QByteArrayView bytes)
{
    QStringDecoder decode(QStringConverter::Utf8,
                          QStringConverter::Flag::ConvertInitialBom | QStringConverter::Flag::Stateless);
    return decode(bytes);
}
