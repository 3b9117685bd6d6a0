#include "host/html/document_head.h"

#include "host/html/style.h"

#include <QCryptographicHash>

namespace {

QString sha256_source(const char* content)
{
    const QByteArray hash = QCryptographicHash::hash(QByteArrayView(content), QCryptographicHash::Sha256);
    return QStringLiteral("'sha256-") + QString::fromLatin1(hash.toBase64()) + QLatin1Char('\'');
}

} // namespace

void write_document_head(report_html& html, const QString& title)
{
    const auto head = html.open("head");
    html.empty("meta", {{"charset", QStringLiteral("utf-8")}});
    // Only our own style and script may work, and nothing may be loaded, whatever a name in the evidence holds.
    html.empty("meta",
               {{"http-equiv", QStringLiteral("Content-Security-Policy")},
                {"content", QStringLiteral("default-src 'none'; base-uri 'none'; form-action 'none'; style-src ") +
                                sha256_source(report_style_sheet) + QStringLiteral("; script-src ") +
                                sha256_source(report_script)}});
    html.empty("meta", {{"name", QStringLiteral("viewport")},
                        {"content", QStringLiteral("width=device-width, initial-scale=1")}});
    html.element("title", title);
    html.verbatim("style", report_style_sheet);
}
