#pragma once

#include <QByteArray>
#include <QList>

#include <vector>

/// A part of a message whose content was taken out and is kept in a file of its own, if anywhere.
struct emptied_part
{
    QByteArray number;  ///< section number as mail servers count: "1", "2.2"
    qint64 length = -1; ///< bytes that its content is said to have, encoded; -1 when nothing tells
};

/// Finds the parts of a message that are empty although they announce content or are named as an attachment. Takes the
/// message in pieces of any size and keeps no more than a line of it. Embedded messages are looked into.
class emptied_part_finder
{
public:
    emptied_part_finder();

    /// Takes the next bytes of the message.
    void add(QByteArrayView piece);
    /// Ends the message; returns what was found, in the message's order.
    std::vector<emptied_part> finish();
    /// False when the message has more parts, or deeper ones, than were followed.
    bool is_complete() const { return complete; }

private:
    /// A multipart whose parts are being read.
    struct open_multipart
    {
        QByteArray boundary;
        QByteArray number; ///< what the numbers of its parts begin with; empty at the top
        int parts = 0;
    };

    void take_line(QByteArrayView line);
    bool take_boundary(QByteArrayView line);
    void take_header_line(QByteArrayView line);
    void take_field();
    void begin_part(const QByteArray& number, const QByteArray& prefix);
    void begin_embedded_message();
    void end_header();
    void end_part();

    QByteArray line_so_far;
    bool skipping_line = false; ///< the rest of a line that is longer than any that matters
    bool complete = true;
    int parts_seen = 0;
    std::vector<open_multipart> multiparts;
    std::vector<emptied_part> found;

    // The part being read.
    bool in_part = false;
    bool in_header = false;
    bool is_empty = true;
    bool is_attachment = false;
    bool is_embedded_message = false;
    bool is_marked = false;
    qint64 announced = -1;
    QByteArray part_number;
    QByteArray inner_prefix; ///< what the numbers of parts inside this one begin with
    QByteArray boundary;
    QByteArray field; ///< the header field being read, unfolded
};
