# What a host suite is built against: the two public headers below plugin/, the library, and a CMake package that finds
# both from where it lies itself, so that the installed tree may be moved.
include(CMakePackageConfigHelpers)

set(header_directory "${CMAKE_INSTALL_INCLUDEDIR}/apple_mail_extractor")
set(package_directory "${CMAKE_INSTALL_LIBDIR}/cmake/AppleMailExtractor")
set(library_file
    "${CMAKE_INSTALL_LIBDIR}/${CMAKE_SHARED_LIBRARY_PREFIX}apple_mail_extractor${CMAKE_SHARED_LIBRARY_SUFFIX}")

configure_package_config_file(cmake/AppleMailExtractorConfig.cmake.in
    "${CMAKE_BINARY_DIR}/AppleMailExtractorConfig.cmake"
    INSTALL_DESTINATION "${package_directory}"
    PATH_VARS header_directory library_file)
write_basic_package_version_file("${CMAKE_BINARY_DIR}/AppleMailExtractorConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)

install(TARGETS apple_mail_extractor LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(FILES plugin/apple_mail_extractor.h plugin/host_records.h DESTINATION "${header_directory}/plugin")
# What the public header names of bulk copying.
install(FILES support/bulk/copied_file.h DESTINATION "${header_directory}/support/bulk")
install(FILES "${CMAKE_BINARY_DIR}/AppleMailExtractorConfig.cmake"
    "${CMAKE_BINARY_DIR}/AppleMailExtractorConfigVersion.cmake" DESTINATION "${package_directory}")
