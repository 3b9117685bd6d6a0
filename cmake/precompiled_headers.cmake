# Most of the compiling is reading Qt's headers, so they are read once for all targets. What the holder defines must be
# what all its users define: that is why it links nothing but Qt6::Core, and why <QTest>, which reads where a target's
# tests lie, is not among the headers; what that one reads is.
# A fuzzed target is compiled with options of its own, which its headers would have to share.
if(BUILD_FUZZERS)
    set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

set(holder_source "${CMAKE_BINARY_DIR}/precompiled_qt.cpp")
file(GENERATE OUTPUT "${holder_source}" CONTENT "")
add_library(precompiled_qt OBJECT "${holder_source}")
target_link_libraries(precompiled_qt PRIVATE Qt6::Core)
target_include_directories(precompiled_qt SYSTEM PRIVATE $<TARGET_PROPERTY:Qt6::Sql,INTERFACE_INCLUDE_DIRECTORIES>)
target_precompile_headers(precompiled_qt PRIVATE
    <QByteArray> <QCoreApplication> <QDateTime> <QDir> <QDirIterator> <QFile> <QFileInfo> <QHash> <QJsonArray>
    <QJsonDocument> <QJsonObject> <QList> <QLocale> <QMap> <QProcess> <QRegularExpression> <QSaveFile> <QSet>
    <QSqlDatabase> <QSqlError> <QSqlQuery> <QString> <QStringList> <QTemporaryDir> <QTimeZone> <QUrl> <QVariant>
    <algorithm> <array> <atomic> <filesystem> <functional> <memory> <optional> <string> <utility> <vector>)
enable_warnings(precompiled_qt)

# A target that links Qt6::Core reads the headers as they were read for all.
function(use_precompiled_headers target)
    target_precompile_headers(${target} REUSE_FROM precompiled_qt)
endfunction()
