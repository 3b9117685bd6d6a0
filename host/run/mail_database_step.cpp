#include "host/run/mail_database_step.h"

#include "host/accounts/dossier.h"
#include "host/mail_database/account_tables.h"
#include "host/terminal/interruption.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>

mail_database_outcome write_mail_database(const QString& source_root, const QList<source_user>& users,
                                          const result_paths& result)
{
    dossier_request request;
    request.source = QFile::encodeName(source_root);
    request.scratch = QDir::tempPath();
    request.go_on = [] { return !interruption::requested(); };
    for (const source_user& user : users) {
        request.users.push_back(QFile::encodeName(user.name));
    }
    const account_dossier dossier = read_dossier(request);
    mail_database_outcome outcome{dossier.problems, dossier.remarks};
    try {
        mail_database_writer writer(result.path(product::mail_database));
        write_account_tables(writer, dossier);
        writer.put_in_place();
    } catch (const failure& unwritten) {
        outcome.problems.append(unwritten.message());
    }
    return outcome;
}
