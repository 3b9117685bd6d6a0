#pragma once

#include "host/files/file_amount.h"

#include <QElapsedTimer>
#include <QList>
#include <QString>

/// How progress is shown on standard error.
enum class progress_style
{
    silent,
    bar,  ///< one line that is drawn anew, for a terminal
    lines ///< a line every ten seconds
};

/// Returns the style for this process: silent when asked for, a bar on a terminal, lines elsewhere.
progress_style progress_style_for(bool quiet);

/// Shows how far a long work with files is: bytes, files, rate and time left; files alone where no bytes are told. Rate
/// and time left are those of the last seconds.
class progress
{
public:
    /// `label` names the work ("copying"); a total of nothing shows no share and no time left.
    progress(QString label, file_amount total, progress_style style);
    ~progress();
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;

    /// Takes what is done so far and shows it when it is time to; cheap enough to be called for every file.
    void update(file_amount done);
    /// Ends the display and removes the bar; later updates show nothing.
    void finish();

private:
    /// What was done at a moment.
    struct moment
    {
        qint64 ms = 0;
        file_amount done;
    };

    void keep_moment();
    QString status_text(int columns) const;
    QString time_left() const;
    double share_of(const file_amount& part) const;
    double per_second(qint64 amount) const;

    QString label;
    file_amount total;
    file_amount done;
    progress_style style;
    QList<moment> moments; ///< of the last seconds, the oldest first
    QElapsedTimer since_start;
    QElapsedTimer since_shown;
};
