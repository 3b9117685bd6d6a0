#pragma once

#include <QString>
#include <QStringList>
#include <QXmlStreamWriter>

#include <initializer_list>
#include <utility>

class QIODevice;

/// Writes an HTML document that is well-formed XML as well. Text and attributes are escaped; elements close themselves.
class report_html
{
public:
    using attributes = std::initializer_list<std::pair<const char*, QString>>;

    /// An element that is open; its end tag is written when this goes out of scope.
    class [[nodiscard]] open_element
    {
    public:
        explicit open_element(report_html& writer) : html(writer) {}
        ~open_element() { html.close(); }
        Q_DISABLE_COPY_MOVE(open_element)

    private:
        report_html& html;
    };

    /// Writes to an open device, which must outlive this object and has all of it when the outermost element is closed.
    explicit report_html(QIODevice* target);

    /// Opens an element that never stands without an end tag, as HTML asks.
    open_element open(const char* name, attributes with = {});
    /// Writes an element that has no content ("meta", "rect").
    void empty(const char* name, attributes with);
    /// Writes an element that holds only one piece of text.
    void element(const char* name, const QString& content, attributes with = {});
    /// Writes text that display_text() returned or that is the project's own.
    void text(const QString& content);
    /// Writes text that display_text() returned, kept from changing the order of what stands around it. A
    /// long one breaks behind "@", ".", "/" and "-".
    void foreign(const QString& displayed);
    /// Names the columns of the table that is open, so that each of its cells bears its column's title for screens
    /// on which rows become cards.
    void set_columns(const QStringList& titles) { columns = titles; }
    /// Writes the doctype.
    void doctype();
    /// Writes "style" or "script" with content as it is: constant, and free of "<" and "&".
    void verbatim(const char* name, const char* content);

private:
    void close();
    void label_cell(QByteArrayView name, attributes with);

    QIODevice* device;
    QString pending; ///< what the device did not get yet: it takes long over each of very many short pieces
    QXmlStreamWriter xml;
    qsizetype depth = 0;  ///< elements that are open
    QStringList columns;  ///< of the table that is open
    qsizetype column = 0; ///< of the next cell
};
