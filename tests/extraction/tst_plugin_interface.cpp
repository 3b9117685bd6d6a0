#include "tests/common/driven_plugin.h"
#include "tests/common/evidence_source.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <cstring>

namespace {

/// Returns the places of virtual operations in the table through which a host calls.
template <typename... operations>
QList<std::ptrdiff_t> table_offsets(operations... members)
{
    const auto offset = [](auto member) {
        std::ptrdiff_t place = 0;
        std::memcpy(&place, &member, sizeof(place));
        return place;
    };
    return {offset(members)...};
}

class frame_with_one_more : public QFrame
{
public:
    virtual void first_of_its_own() {}
};

} // namespace

class tst_plugin_interface : public QObject
{
    Q_OBJECT

private slots:
    void operations_lie_in_the_binding_order()
    {
        using object = apple_mail_extractor;
        const auto offsets = table_offsets(
            &frame_with_one_more::first_of_its_own, &object::pub_get_artifact_name, &object::pub_set_essentials,
            &object::pub_set_source_count, &object::pub_set_ios_uid_backup_pointer, &object::pub_set_desktop_info,
            &object::pub_set_general_info, &object::pub_set_source_info,
            &object::pub_set_essential_for_kavro_desk_extraction, &object::pub_set_result_directory,
            &object::pub_create_db_tables, &object::pub_set_clear_db, &object::pub_cancel_extraction,
            &object::pub_find_source_file, &object::pub_set_extended_attributes_list, &object::pub_extract_artifacts,
            &object::pub_generate_chat_html_pages, &object::pub_remove_temporary_asthetics);
        QCOMPARE(table_offsets(&object::pub_set_engine_type).first(), offsets.first());
        for (qsizetype i = 1; i < offsets.size(); ++i) {
            QCOMPARE(offsets.at(i) - offsets.at(i - 1), std::ptrdiff_t(sizeof(void*)));
        }
    }

    void the_library_exports_its_surface_alone()
    {
        const QString nm = QStandardPaths::findExecutable("nm");
#ifndef Q_OS_LINUX
        QSKIP("the names are written otherwise in this system's libraries");
#endif
        if (nm.isEmpty()) {
            QSKIP("nm is not installed");
        }
        QProcess process;
        process.start(nm, {"-D", "--defined-only", "--format=just-symbols", QStringLiteral(PLUGIN_LIBRARY)});
        QVERIFY(process.waitForFinished());
        const QStringList symbols = QString::fromLatin1(process.readAll()).split('\n', Qt::SkipEmptyParts);
        const QRegularExpression surface(
            "^(create_object|_ZN22m_apple_mail_extractorC[12]Ev|_ZT[VIS]20apple_mail_extractor|"
            "_Z(N|NK|Thn\\d+_N)20apple_mail_extractor[CD\\d].*)$");
        QStringList others = symbols;
        others.removeIf([&surface](const QString& symbol) { return surface.match(symbol).hasMatch(); });
        QCOMPARE(others, QStringList());
        for (const char* needed : {"create_object", "_ZN22m_apple_mail_extractorC1Ev", "_ZTV20apple_mail_extractor",
                                   "_ZN20apple_mail_extractorD1Ev"}) {
            QVERIFY2(symbols.contains(needed), needed);
        }
    }

    void the_object_as_a_frame()
    {
        const evidence_source source;
        driven_plugin plugin(source, {});
        const QFrame* frame = plugin.operator->();
        QCOMPARE(frame->parentWidget(), nullptr);
        QCOMPARE(frame->objectName(), "apple_mail_extractor");
        QCOMPARE(frame->windowTitle(), "Frame");
        QCOMPARE(frame->size(), QSize(400, 300));
        QCOMPARE(frame->frameStyle(), int(QFrame::StyledPanel) | int(QFrame::Raised));
        QCOMPARE(plugin->pub_get_artifact_name(), "Apple Mail Extractor");
        QCOMPARE(frame->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly).size(), 3);
    }
};

QTEST_MAIN(tst_plugin_interface)
#include "tst_plugin_interface.moc"
