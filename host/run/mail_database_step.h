#pragma once

#include "host/accounts/account_record.h"
#include "host/result/result_paths.h"
#include "host/source/source_users.h"

#include <QList>
#include <QString>
#include <QStringList>

/// What writing mail.sqlite came across, one line each.
struct mail_database_outcome
{
    QStringList problems;                   ///< what could not be read or written
    QStringList remarks;                    ///< what a store's schema does not have
    std::vector<account_store_rows> stores; ///< the rows of those account stores that were read without a problem
};

/// Reads who the users' accounts are and writes mail.sqlite of the result. Throws nothing: what cannot be read or
/// written is a problem, and then no database is there or the one from before.
mail_database_outcome write_mail_database(const QString& source_root, const QList<source_user>& users,
                                          const result_paths& result);
