# The reference, as scripts/reference builds it: manual pages and HTML.
find_program(QMV_DOXYGEN doxygen REQUIRED)
set(reference ${PROJECT_BINARY_DIR}/reference)
file(GLOB reference_sources CONFIGURE_DEPENDS include/qmv/*.h docs/*.md docs/reference/*
     examples/reference/*.c examples/reference/*.expected)
add_custom_command(OUTPUT ${reference}/man/man3/qmv.3qmv
                   COMMAND ${PROJECT_SOURCE_DIR}/scripts/reference ${reference}
                   DEPENDS ${reference_sources} SECURITY.md scripts/reference CMakeLists.txt
                   VERBATIM)
add_custom_target(reference ALL DEPENDS ${reference}/man/man3/qmv.3qmv)
install(DIRECTORY ${reference}/man/man3 DESTINATION ${CMAKE_INSTALL_MANDIR})
install(DIRECTORY ${reference}/html DESTINATION ${CMAKE_INSTALL_DOCDIR})
