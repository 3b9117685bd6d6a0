#pragma once

#include "sample/sample_cast.h"

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>

struct sample_property
{
    QString key;
    QVariant value;
};

/// What a mail account's own row knows of itself. An account of iCloud has no server here: that stands in its parent's
/// dictionary of the Mail class. Some keys hold what must never be shown.
QList<sample_property> mail_account_properties(const sample_mail_account& account, const QString& full_name,
                                               const QString& address, const QString& sending_identifier);

/// What the row of the account for sending knows.
QList<sample_property> sending_account_properties(const sample_mail_account& account);

/// The dictionaries of a row's data classes.
QVariantMap data_class_dictionaries(const sample_mail_account& account, const QString& address);
