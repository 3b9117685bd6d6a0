# The one place that names the libraries and their minimum versions.
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets Sql)
find_package(CLI11 2.1 REQUIRED CONFIG)
find_package(OpenSSL 3.0 REQUIRED COMPONENTS Crypto)
find_package(SQLite3 3.37 REQUIRED)
find_package(Threads REQUIRED)
if(BUILD_TESTING)
    find_package(Qt6 6.4 REQUIRED COMPONENTS Test)
endif()
