# The Debian packages, made by `cpack` of a build with OZRDC_PACKAGE (./dev package): the shared library, what is needed to
# build with it, and the command.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
# Whoever makes packages answers for them, and tells so as with other tools of Debian: by DEBFULLNAME and DEBEMAIL, or by
# -DOZRDC_PACKAGE_CONTACT. The project has no public address; the one that stands in for it can belong to nobody.
if(DEFINED ENV{DEBEMAIL} AND DEFINED ENV{DEBFULLNAME})
  set(contact "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
else()
  set(contact "The ozrdc authors <authors@ozrdc.example>")
endif()
set(OZRDC_PACKAGE_CONTACT ${contact} CACHE STRING "Who answers for the packages: Name <address>")
set(CPACK_PACKAGE_CONTACT ${OZRDC_PACKAGE_CONTACT})
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)  # where it finds the library itself

# The runtime package is named for the soname, so that packages of two interfaces can be installed side by side.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libozrdcy8-11)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# It is told by hand what CPack would find out, because CPack also adds scripts that call ldconfig where a trigger does.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libc6 (>= 2.14)")
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/packaging/shlibs "libozrdcy8 11 libozrdcy8-11 (>= ${PROJECT_VERSION}-1)\n")
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/packaging/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_BINARY_DIR}/packaging/shlibs ${CMAKE_CURRENT_BINARY_DIR}/packaging/triggers)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "data-compression primitives (shared library)
The compute-heavy stages of compressors and decompressors as plain functions:
checksums, LZ4, Deflate, LZO, LZSS, block sorting and ZFP, for processors with
SSE4.2. The library never allocates memory, throws, logs or starts threads.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libozrdcy8-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libozrdcy8-11 (= ${PROJECT_VERSION}-1)")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "data-compression primitives (development files)
Headers for C and C++, the static library, and descriptions for CMake and
pkg-config, to build programs with libozrdcy8.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ozrz)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libozrdcy8-11 (>= ${PROJECT_VERSION}-1)")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "compress and decompress files in several formats
A command in the manner of gzip for lz4, gzip, bzip2, zlib and further formats.
It works on all cores, checks what it decompresses, recovers what is
intact of damaged bzip2 files, and measures ratio and speed on given files.")

# compress_document(SOURCE RESULT COMPONENT DESTINATION): a document as packages hold it.
function(compress_document source result component destination)
  set(compressed ${CMAKE_CURRENT_BINARY_DIR}/documents/${component}/${result}.gz)
  add_custom_command(OUTPUT ${compressed} DEPENDS ${source} VERBATIM
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/documents/${component}
    COMMAND sh -c "gzip -9nc \"$1\" >\"$2\"" - ${source} ${compressed})
  add_custom_target(${component}_${result} ALL DEPENDS ${compressed})
  install(FILES ${compressed} DESTINATION ${destination} COMPONENT ${component})
endfunction()

string(TIMESTAMP release_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(packaging/changelog.in changelog @ONLY)
foreach(component runtime development tools)
  string(TOUPPER ${component} upper)
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  install(FILES packaging/copyright DESTINATION ${documents} COMPONENT ${component})
  compress_document(${CMAKE_CURRENT_BINARY_DIR}/changelog changelog.Debian ${component} ${documents})
endforeach()
compress_document(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog runtime
  ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME})
compress_document(${PROJECT_SOURCE_DIR}/docs/ozrz.1 ozrz.1 tools ${CMAKE_INSTALL_MANDIR}/man1)

include(CPack)
