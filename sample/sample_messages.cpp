#include "sample/sample_messages.h"

#include "sample/sample_plist.h"

#include <QDateTime>
#include <QLocale>
#include <QTimeZone>

#include <array>

namespace {

struct correspondent
{
    const char* name;
    const char* address;
};

constexpr std::array<correspondent, 6> correspondents{{
    {"Maria Specimen", "maria.specimen@example.com"},
    {"Shop Example", "orders@shop.example.net"},
    {"Max Muster", "max.muster@example.org"},
    {"=?utf-8?Q?Zo=C3=AB_Placeholder?=", "zoe.placeholder@example.com"},
    {"Rowing Club", "board@club.example.org"},
    {"\"Sample, Peter\"", "peter@example.net"},
}};

constexpr std::array<const char*, 8> subjects{"Minutes of the meeting on Tuesday",
                                              "Re: Invoice 2041",
                                              "=?utf-8?Q?Gr=C3=BC=C3=9Fe_aus_dem_Urlaub?=",
                                              "Your order has been shipped",
                                              "Fwd: Draft contract, second version",
                                              "Re: Re: Lunch?",
                                              "=?utf-8?B?UsOpdW5pb24gZHUgMTQganVpbGxldA==?=",
                                              "Password changed"};

constexpr std::array<const char*, 6> sentences{
    "Please find the figures below; the second table is the one that counts.",
    "Vielen Dank f\xc3\xbcr die schnelle Antwort, ich melde mich n\xc3\xa4"
    "chste Woche.",
    "The delivery is expected between eight and twelve, somebody should be at home.",
    "I have changed the last paragraph, everything else stays as we agreed.",
    "On pourrait se retrouver \xc3\xa0 midi devant la gare.",
    "From what I can see, the invoice was paid twice."};

const QStringList& attachment_names(bool odd)
{
    static const QStringList plain{QStringLiteral("invoice.pdf"), QStringLiteral("minutes.txt"),
                                   QStringLiteral("photo.jpg")};
    static const QStringList awkward{QStringLiteral("invoice 2041.pdf"), QStringLiteral("Plan \"B\".txt"),
                                     QStringLiteral("M\u00e4rz.jpg"),    QStringLiteral("Ma\u0308rz (2).jpg"),
                                     QStringLiteral("it's here.pdf"),    QStringLiteral("scan\npage 2.jpg")};
    return odd ? awkward : plain;
}

sample_attachment make_attachment(sample_random& random, bool odd_names, int part)
{
    sample_attachment made{random.pick(attachment_names(odd_names)), part, {}};
    const QByteArray filling = random.bytes(400 + random.below(2400));
    if (made.name.endsWith(u".pdf")) {
        made.content = "%PDF-1.4\n%\xe2\xe3\xcf\xd3\n" + filling + "\n%%EOF\n";
    } else if (made.name.endsWith(u".jpg")) {
        made.content = QByteArray("\xff\xd8\xff\xe0\x00\x10JFIF\x00\x01", 12) + filling + "\xff\xd9";
    } else {
        made.content = filling.toBase64() + '\n';
    }
    return made;
}

QByteArray file_name_parameter(const QString& name)
{
    return "filename*=utf-8''" + name.toUtf8().toPercentEncoding();
}

QByteArray body_text(sample_random& random)
{
    QByteArray text;
    for (int left = 1 + random.below(9); left > 0; --left) {
        text += QByteArray(random.pick(sentences)) + (left % 3 == 0 ? "\n\n" : "\n");
    }
    return text;
}

QByteArray text_part(const char* subtype, const QByteArray& text)
{
    return QByteArray("Content-Type: text/") + subtype + "; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n" + text +
           '\n';
}

QByteArray attachment_part(const sample_attachment& attachment, bool left_out)
{
    QByteArray part = "Content-Type: application/octet-stream\nContent-Transfer-Encoding: base64\n"
                      "Content-Disposition: attachment;\n\t" +
                      file_name_parameter(attachment.name) + '\n';
    if (left_out) {
        return part + "X-Apple-Content-Length: " + QByteArray::number(attachment.content.size()) + "\n\n\n";
    }
    const QByteArray encoded = attachment.content.toBase64();
    part += '\n';
    for (qsizetype at = 0; at < encoded.size(); at += 76) {
        part += encoded.mid(at, 76) + '\n';
    }
    return part;
}

QByteArray multipart(sample_random& random, const char* subtype, const QByteArrayList& parts)
{
    const QByteArray boundary = "Apple-Mail=_" + random.uuid().toLatin1();
    QByteArray body = QByteArray("Content-Type: multipart/") + subtype + ";\n\tboundary=\"" + boundary + "\"\n\n";
    for (const QByteArray& part : parts) {
        body += "--" + boundary + '\n' + part;
    }
    return body + "--" + boundary + "--\n";
}

QByteArray property_list(sample_random& random, const sample_message& message, qint64 number)
{
    return to_xml_plist(
        QVariantMap{{QStringLiteral("conversation-id"), number % 997 + 1},
                    {QStringLiteral("date-last-viewed"), message.received.seconds + random.below(900'000)},
                    {QStringLiteral("date-received"), message.received.seconds},
                    {QStringLiteral("flags"), message.flags},
                    {QStringLiteral("remote-id"), QString::number(number + 40)}});
}

} // namespace

sample_message compose_message(sample_random& random, const sample_message_context& context, qint64 number)
{
    const correspondent& other = random.pick(correspondents);
    sample_message message{};
    message.sender = QString::fromLatin1(other.address);
    message.subject = QString::fromLatin1(random.pick(subjects));
    message.received = random.time_between(context.first_year, context.last_year);
    message.flags = 8'590'195'712 + random.below(2);

    const auto form = number % 5; // every form occurs in the smallest sample
    message.partial = form == 3;
    if (form >= 3) {
        const int last_part = 2 + random.below(2);
        for (int part = 2; part <= last_part; ++part) {
            message.attachments.append(make_attachment(random, context.odd_names, part));
        }
    }
    message.flags += static_cast<qint64>(message.attachments.size()) << 10;

    const QByteArray text = body_text(random);
    QByteArray body = text_part("plain", text);
    if (form == 2) {
        const QByteArray html = "<html><body><p>" + QByteArray(text).replace('\n', "<br>\n") + "</p></body></html>\n";
        body = multipart(random, "alternative", {body, text_part("html", html)});
    } else if (!message.attachments.isEmpty()) {
        QByteArrayList parts{body};
        for (const sample_attachment& attachment : std::as_const(message.attachments)) {
            parts.append(attachment_part(attachment, message.partial));
        }
        body = multipart(random, "mixed", parts);
    }

    const QDateTime date = QDateTime::fromSecsSinceEpoch(message.received.seconds, Qt::UTC);
    const QByteArray date_text = QLocale::c().toString(date, u"ddd, d MMM yyyy HH:mm:ss").toLatin1() + " +0000";
    const QByteArray domain = message.sender.section(u'@', 1).toLatin1();
    const QByteArray mail = "Return-Path: <" + message.sender.toLatin1() + ">\nReceived: from mail." + domain +
                            " by mx.example.org; " + date_text + "\nFrom: " + other.name + " <" + other.address +
                            ">\nTo: =?utf-8?B?" + context.full_name.toUtf8().toBase64() + "?= <" +
                            context.address.toLatin1() + ">\nSubject: " + message.subject.toLatin1() +
                            "\nDate: " + date_text + "\nMessage-Id: <" + random.uuid().toLatin1() + '@' + domain +
                            ">\nMime-Version: 1.0 (Mac OS X Mail)\n" + body;
    message.emlx =
        QByteArray::number(mail.size()).leftJustified(10) + '\n' + mail + property_list(random, message, number);
    // With the message inside, the files beside it would be copies; the mail program keeps them for partial ones.
    if (!message.partial) {
        message.attachments.clear();
    }
    return message;
}
