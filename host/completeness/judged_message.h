#pragma once

#include "host/completeness/emptied_parts.h"
#include "host/files/quiet_reading.h"

#include <QByteArray>
#include <QString>

#include <vector>

/// What became of looking into one mail file.
struct judged_message
{
    QString problem;                 ///< why it is not readable as a message; empty when it is
    std::vector<emptied_part> parts; ///< of a partial message, those whose content was taken out
    QString note;                    ///< what of a readable message was not looked at; empty when nothing was left
    bool is_read = false;            ///< nothing failed while it was opened and read
};

/// Judges the beginning of an open mail file; a partial one is read to its end, within a bound that no message without
/// its attachments reaches. One that could not be opened is not readable for the reason it gives.
judged_message judge_message_file(const quiet_file& file, bool is_partial);
