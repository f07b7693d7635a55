# The libraries as other programs use them: ZVWebKit::html, ::core and ::webkit
# (for add_subdirectory as for find_package), their installation, the CMake
# package ZVWebKit, the pkg-config files zvhtml, zvcore and zvwebkit, and the
# Debian package made by CPack.
#
# zvhtml, zvcore and zvwebkit are static archives that the tests link (they
# reach internal symbols). With ZV_SHARED, the libraries users get are shared
# ones built from the same objects, which export only what is marked ZV_EXPORT.

set(ZV_COMPONENTS html core webkit)
set(ZV_RESOURCES_BUILD_DIR ${CMAKE_BINARY_DIR}/resources)

# The installable library of component `component` made of `archive`'s objects;
# it depends on the other components and the system libraries as the archive does.
function(zv_add_component component archive)
  if(NOT ZV_SHARED)
    set_target_properties(${archive} PROPERTIES EXPORT_NAME ${component})
    add_library(ZVWebKit::${component} ALIAS ${archive})
    return()
  endif()
  set(library ${archive}_shared)
  add_library(${library} SHARED $<TARGET_OBJECTS:${archive}>)
  set_target_properties(${library} PROPERTIES OUTPUT_NAME ${archive} EXPORT_NAME ${component}
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION}
    INSTALL_RPATH "$ORIGIN")
  target_include_directories(${library} PUBLIC ${ZV_INCLUDE_DIRS})
  target_compile_features(${library} PUBLIC cxx_std_20)
  get_target_property(public ${archive} INTERFACE_LINK_LIBRARIES)
  get_target_property(all ${archive} LINK_LIBRARIES)
  foreach(list public all)
    list(TRANSFORM ${list} REPLACE "^(zvhtml|zvcore|zvwebkit)$" "\\1_shared")
  endforeach()
  target_link_libraries(${library} PUBLIC ${public} PRIVATE ${all})
  add_library(ZVWebKit::${component} ALIAS ${library})
endfunction()

set(ZV_ARCHIVES zvhtml zvcore zvwebkit)
foreach(component archive IN ZIP_LISTS ZV_COMPONENTS ZV_ARCHIVES)
  if(TARGET ${archive})
    target_compile_features(${archive} PUBLIC cxx_std_20)
    # The objects serve the shared library too; only what carries ZV_EXPORT leaves it.
    set_target_properties(${archive} PROPERTIES POSITION_INDEPENDENT_CODE ON
      CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    zv_add_component(${component} ${archive})
    list(APPEND ZV_BUILT_COMPONENTS ${component})
  endif()
endforeach()

# An installed zvcore looks for the framework's resources relative to the file
# that holds its code: the shared library, or the program it is linked into.
if(ZV_SHARED)
  set(ZV_CODE_DIR ${CMAKE_INSTALL_LIBDIR})
else()
  set(ZV_CODE_DIR ${CMAKE_INSTALL_BINDIR})
endif()
file(RELATIVE_PATH ZV_RESOURCES_FROM_CODE /prefix/${ZV_CODE_DIR} /prefix/${CMAKE_INSTALL_DATADIR}/zvwebkit)
if(TARGET zvcore)
  set_property(SOURCE ${PROJECT_SOURCE_DIR}/src/foundation/Bundle.cpp APPEND PROPERTY COMPILE_DEFINITIONS
    ZV_RESOURCES_FROM_CODE="${ZV_RESOURCES_FROM_CODE}" ZV_RESOURCES_BUILD_DIR="${ZV_RESOURCES_BUILD_DIR}")
endif()

if(NOT ZV_INSTALL)
  return()
endif()

include(CMakePackageConfigHelpers)
set(ZV_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZVWebKit)
set(ZV_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

foreach(component IN LISTS ZV_BUILT_COMPONENTS)
  get_target_property(library ZVWebKit::${component} ALIASED_TARGET)
  string(SUBSTRING ${component} 0 1 first)
  string(TOUPPER ${first} first)
  string(SUBSTRING ${component} 1 -1 rest)
  install(TARGETS ${library} EXPORT ZVWebKit${first}${rest}Targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(EXPORT ZVWebKit${first}${rest}Targets NAMESPACE ZVWebKit:: DESTINATION ${ZV_CMAKE_DIR})
endforeach()

install(DIRECTORY include/zv DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# The framework's resources as the build assembles them (scripts, mark.js, ui, strings).
install(DIRECTORY ${ZV_RESOURCES_BUILD_DIR}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/zvwebkit OPTIONAL)
if(TARGET zvwk)
  file(RELATIVE_PATH bin_to_lib /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
  set_target_properties(zvwk PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
  install(TARGETS zvwk)
  # zvwk's own resources, found from the program's directory once installed.
  install(DIRECTORY tools/zvwk/resources/ DESTINATION ${CMAKE_INSTALL_DATADIR}/zvwk)
  file(RELATIVE_PATH bin_to_data /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_DATADIR}/zvwk)
  target_compile_definitions(zvwk PRIVATE ZVWK_RESOURCES_FROM_EXE="${bin_to_data}")
endif()

configure_package_config_file(cmake/ZVWebKitConfig.cmake.in ${CMAKE_BINARY_DIR}/ZVWebKitConfig.cmake
  INSTALL_DESTINATION ${ZV_CMAKE_DIR})
# Before 1.0 a minor version may change the interface.
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ZVWebKitConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/ZVWebKitConfig.cmake ${CMAKE_BINARY_DIR}/ZVWebKitConfigVersion.cmake
  DESTINATION ${ZV_CMAKE_DIR})

# pkg-config files: `requires` are the modules the headers include, `private`
# the ones only the library's code uses. Static libraries need those linked by
# the program too, so they require them outright: `pkg-config --static` would
# also ask for the system libraries' own static dependencies.
file(RELATIVE_PATH ZV_PC_TO_PREFIX /prefix/${ZV_PKGCONFIG_DIR} /prefix)
function(zv_pkgconfig name description requires private)
  set(ZV_PC_NAME ${name})
  set(ZV_PC_DESCRIPTION ${description})
  set(ZV_PC_REQUIRES ${requires})
  set(ZV_PC_REQUIRES_PRIVATE ${private})
  if(NOT ZV_SHARED)
    string(STRIP "${requires} ${private}" ZV_PC_REQUIRES)
    set(ZV_PC_REQUIRES_PRIVATE "")
  endif()
  configure_file(cmake/zv.pc.in ${CMAKE_BINARY_DIR}/pkgconfig/${name}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/pkgconfig/${name}.pc DESTINATION ${ZV_PKGCONFIG_DIR})
endfunction()
zv_pkgconfig(zvhtml "HTML5 parser, DOM and serializer" "icu-uc icu-i18n" "")
if("core" IN_LIST ZV_BUILT_COMPONENTS)
  zv_pkgconfig(zvcore "Mail HTML operations and runtime services" "zvhtml glib-2.0 gio-2.0 nlohmann_json"
    "sqlite3 libsoup-3.0 libpsl")
endif()
if("webkit" IN_LIST ZV_BUILT_COMPONENTS)
  zv_pkgconfig(zvwebkit "Mail web views on WebKitGTK" "zvcore gtk4 webkitgtk-6.0" "librsvg-2.0")
endif()

# `make deb`: one Debian package for developers, the libraries with their
# headers and files for CMake and pkg-config; it depends on the -dev packages
# of the libraries the headers include and the package files look up.
set(CPACK_PACKAGE_NAME zvwebkit)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "HTML and web-view framework of a desktop mail client")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "ZVWebKit developers <zvwebkit@localhost>")
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "pkg-config, libicu-dev, libglib2.0-dev, nlohmann-json3-dev, libsqlite3-dev, libpsl-dev, \
libsoup-3.0-dev, libgtk-4-dev, libwebkitgtk-6.0-dev, librsvg2-dev, libgmime-3.0-0")
include(CPack)
