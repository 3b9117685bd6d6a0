# The plug-in: one set of objects, made into the shared library here and linked by the tests as they are.

# The cipher stands apart because the host program reads enciphered logs with the very same class and key.
add_library(log_cipher OBJECT
    support/encryptor_string.cpp
    support/encryptor_string.h)
target_include_directories(log_cipher PUBLIC "${CMAKE_SOURCE_DIR}")
target_link_libraries(log_cipher PUBLIC Qt6::Core)
enable_warnings(log_cipher)
use_precompiled_headers(log_cipher)

add_library(extractor_objects OBJECT
    macos/account_folder_names.cpp
    macos/account_folder_names.h
    macos/account_identifier_resolution.cpp
    macos/account_lookup.cpp
    macos/account_lookup.h
    macos/account_store_extraction.cpp
    macos/apple_mail_extractor_macos.cpp
    macos/apple_mail_extractor_macos.h
    macos/attempted_copies.cpp
    macos/attempted_copies.h
    macos/bulk_mail_copying.cpp
    macos/mail_directory_extraction.cpp
    macos/mail_source_discovery.cpp
    macos/mail_store_copying.cpp
    macos/result_rows.cpp
    plugin/apple_mail_extractor.cpp
    plugin/apple_mail_extractor.h
    plugin/apple_mail_extractor.ui
    plugin/apple_mail_extractor_ios_uid.cpp
    plugin/apple_mail_extractor_ios_uid.h
    plugin/apple_mail_extractor_winos.cpp
    plugin/apple_mail_extractor_winos.h
    plugin/host_records.h
    plugin/result_database.cpp
    support/bulk/bulk_copying.cpp
    support/bulk/bulk_copying.h
    support/bulk/copied_file.h
    support/bulk/copy_crew.cpp
    support/bulk/copy_crew.h
    support/bulk/file_copying.cpp
    support/bulk/file_copying.h
    support/bulk/large_transfer.cpp
    support/bulk/large_transfer.h
    support/bulk/platform_copying.cpp
    support/bulk/platform_copying.h
    support/bulk/stream_hash.cpp
    support/bulk/stream_hash.h
    support/bulk/tree_walk.cpp
    support/bulk/tree_walk.h
    support/database_commands.cpp
    support/debug_log.cpp
    support/directory_operations.cpp
    support/engine_types.h
    support/file_extension_lists.cpp
    support/file_extension_lists.h
    support/file_type_classification.cpp
    support/host_record_reset.cpp
    support/limited_database.cpp
    support/limited_database.h
    support/named_connection.cpp
    support/named_connection.h
    support/plugin_helper_functions.cpp
    support/plugin_helper_functions.h
    support/plugin_static_function.cpp
    support/plugin_static_function.h
    support/scheme_extractor_settings.cpp
    support/scheme_extractor_settings.h
    support/shared_texts.h
    support/source_paths.cpp
    support/sqlite_limits.cpp
    support/sqlite_limits.h
    support/text_conversions.cpp
    support/thread_time.h
    support/time_conversions.cpp
    support/working_copies.cpp)
target_include_directories(extractor_objects PUBLIC "${CMAKE_SOURCE_DIR}")
target_link_libraries(extractor_objects PUBLIC log_cipher Qt6::Core Qt6::Widgets Qt6::Sql SQLite::SQLite3
    OpenSSL::Crypto Threads::Threads)
target_compile_definitions(extractor_objects PRIVATE APPLE_MAIL_EXTRACTOR_VERSION="${PROJECT_VERSION}")
enable_warnings(extractor_objects)
use_precompiled_headers(extractor_objects)
set_target_properties(extractor_objects PROPERTIES AUTOMOC ON AUTOUIC ON)

add_library(apple_mail_extractor SHARED
    plugin/create_object.cpp
    plugin/create_object.h)
target_link_libraries(apple_mail_extractor PRIVATE extractor_objects log_cipher)
enable_warnings(apple_mail_extractor)
# Templates of other libraries that are instantiated here carry default visibility: a list keeps them in.
if(APPLE)
    set(exported_symbols "${CMAKE_SOURCE_DIR}/cmake/exported_symbols.txt")
    target_link_options(apple_mail_extractor PRIVATE "-Wl,-exported_symbols_list,${exported_symbols}")
else()
    set(exported_symbols "${CMAKE_SOURCE_DIR}/cmake/exported_symbols.map")
    target_link_options(apple_mail_extractor PRIVATE "-Wl,--version-script=${exported_symbols}")
    # The sanitizers' run-time library belongs to the executable, so a sanitized library has open names.
    if(NOT SANITIZERS)
        target_link_options(apple_mail_extractor PRIVATE -Wl,--no-undefined)
    endif()
endif()
set_target_properties(apple_mail_extractor PROPERTIES LINK_DEPENDS "${exported_symbols}")
