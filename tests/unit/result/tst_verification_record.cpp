#include "host/result/verification_record.h"

#include <QTest>

class tst_verification_record : public QObject
{
    Q_OBJECT

private slots:
    void forged_numbers_never_come_to_nothing()
    {
        verification_record record;
        record.whole = true;
        QVERIFY(verification_from_json(verification_to_json(record)).whole);
        for (const auto& [seal, copies, faults] :
             {std::tuple<qint64, qint64, qint64>{-1, 1, 0}, {INT64_MAX, INT64_MAX, 2}, {0, 0, INT64_MIN}}) {
            record.seal_findings = seal;
            record.copy_findings = copies;
            record.recorded_faults = faults;
            const verification_record read = verification_from_json(verification_to_json(record));
            QVERIFY(!read.whole && read.findings() > 0);
        }
    }
};

QTEST_GUILESS_MAIN(tst_verification_record)
#include "tst_verification_record.moc"
