# One place for the compiler settings that every target shares, and for the few target shapes that exist.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Programs, libraries and the plug-in lie side by side, so that the workbench finds the plug-in by its file name.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH $ORIGIN)

find_program(CORRIDOR_CCACHE ccache)
# In the depend mode a changed comment counts: a precompiled header whose includes only read differently would otherwise
# come out of the cache, and the compiler, which compares the files, would read those includes a second time.
if(CORRIDOR_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_DEPEND=1 CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
      ${CORRIDOR_CCACHE})
endif()
find_program(CORRIDOR_MOLD mold)
if(CORRIDOR_MOLD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12)
  add_link_options(-fuse-ld=mold)
endif()

if(CORRIDOR_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-maybe-uninitialized) # false alarms inside the standard library when instrumented
  endif()
endif()

if(CORRIDOR_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link) # so that the fuzzer sees which ways an input takes
endif()

if(CORRIDOR_SANITIZE_THREADS)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-tsan) # fences in the libraries' headers
  endif()
endif()

# Warnings, UTF-8 sources and precompiled headers survive ccache with -fpch-preprocess.
function(corridor_compile_settings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /utf-8 $<$<BOOL:${CORRIDOR_WARNINGS_AS_ERRORS}>:/WX>)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -fpch-preprocess
                           $<$<BOOL:${CORRIDOR_WARNINGS_AS_ERRORS}>:-Werror>)
  endif()
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
endfunction()

# Headers that take long to read and that most sources of a kind include. Not more than those: every inline function of a
# precompiled header that uses a template costs each source time again.
set(CORRIDOR_RASTER_HEADERS
    <algorithm> <functional> <map> <memory> <optional> <string> <variant> <vector> <gdal_priv.h> <ogrsf_frmts.h>)
set(CORRIDOR_SCENE_HEADERS <osg/Group> <osgEarth/MapNode>)
set(CORRIDOR_VIEWER_HEADERS <osgViewer/Viewer> <osgEarthUtil/EarthManipulator>)
set(CORRIDOR_PICTURE_HEADERS
    <functional> <memory> <optional> <string> <variant> <vector> <QDir> <QImage> <QPainter> <QStringEncoder>)
set(CORRIDOR_WINDOW_HEADERS
    ${CORRIDOR_PICTURE_HEADERS} <QDialog> <QLabel> <QMenu> <QTimer> <QToolButton> <QTreeWidget>)

set(CORRIDOR_TEST_HEADERS <gtest/gtest.h>)
set(CORRIDOR_EVENT_HEADERS <QTest>)

# corridor_precompile(NAME KIND...): KIND is RASTER, SCENE, VIEWER, PICTURE, WINDOW, TEST or EVENT.
function(corridor_precompile target)
  set(headers)
  foreach(kind ${ARGN})
    list(APPEND headers ${CORRIDOR_${kind}_HEADERS})
  endforeach()
  list(REMOVE_DUPLICATES headers)
  target_precompile_headers(${target} PRIVATE ${headers})
endfunction()

# corridor_library(NAME STATIC|SHARED SOURCES... )
function(corridor_library target kind)
  add_library(${target} ${kind} ${ARGN})
  corridor_compile_settings(${target})
endfunction()

# corridor_program(NAME SOURCES...)
function(corridor_program target)
  add_executable(${target} ${ARGN})
  corridor_compile_settings(${target})
endfunction()

# What every test gets: its time, and what ThreadSanitizer needs.
if(CORRIDOR_SANITIZE OR CORRIDOR_SANITIZE_THREADS)
  set(CORRIDOR_TEST_SECONDS 1200)
else()
  set(CORRIDOR_TEST_SECONDS 600)
endif()
set(CORRIDOR_TEST_PROPERTIES TIMEOUT ${CORRIDOR_TEST_SECONDS} ENVIRONMENT
    "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/tsan.supp")

# LeakSanitizer looks at what a program leaves, and those that it starts; not under windows and GL, whose libraries leave much.
set(CORRIDOR_LEAKS_FAIL "ASAN_OPTIONS=string_append::detect_leaks=1")

# corridor_test_program(NAME SOURCES...): a GoogleTest program that CTest does not know yet.
function(corridor_test_program target)
  corridor_program(${target} ${ARGN})
  target_link_libraries(${target} PRIVATE GTest::gtest)
endfunction()

# corridor_test(NAME SOURCES...): a GoogleTest program that runs as one CTest entry, by CORRIDOR_TEST_LAUNCHER where
# that is set. One entry, because most programs pay for their start, or their tests share what is dear. Processor time of
# all tests together and each apart: globe_core_tests (a GL context each) 15 and 27 s, samples_tests (a shared corridor) 7
# and 24 s, engine_tests (a QApplication) 0.1 and 5 s; the plug-in's host takes half a second, a MariaDB server two. Window
# tests hold the display, so that apart they would not even run side by side.
function(corridor_test target)
  corridor_test_program(${target} ${ARGN})
  add_test(NAME ${target} COMMAND ${CORRIDOR_TEST_LAUNCHER} $<TARGET_FILE:${target}>)
  set_tests_properties(${target} PROPERTIES ${CORRIDOR_TEST_PROPERTIES})
endfunction()

# corridor_test_without_leaks(NAME SOURCES...): the same for a program without GL.
function(corridor_test_without_leaks target)
  corridor_test(${target} ${ARGN})
  set_tests_properties(${target} PROPERTIES ENVIRONMENT_MODIFICATION
    "${CORRIDOR_LEAKS_FAIL};LSAN_OPTIONS=set:suppressions=${PROJECT_SOURCE_DIR}/tests/support/lsan.supp:print_suppressions=0")
endfunction()

# corridor_test_cases(NAME SOURCES...): the same with one CTest entry for each test case, NAME.Suite.Case. For programs
# without GL that start in a twentieth of a second and whose tests share nothing; then the cases of a long program run side
# by side, and a failure is one case. Cases are listed when CTest runs, so that building runs no test program.
function(corridor_test_cases target)
  corridor_test_program(${target} ${ARGN})
  gtest_discover_tests(${target} TEST_PREFIX ${target}. NO_PRETTY_VALUES DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
                       PROPERTIES ${CORRIDOR_TEST_PROPERTIES} ENVIRONMENT_MODIFICATION ${CORRIDOR_LEAKS_FAIL})
endfunction()

# corridor_window_test(NAME SOURCES...): the same, with the pointer, the keyboard and the active window of the
# display for itself while it runs.
function(corridor_window_test target)
  corridor_test(${target} ${ARGN})
  set_tests_properties(${target} PROPERTIES RESOURCE_LOCK display)
endfunction()

# corridor_same_test_in_locale_c(NAME FILTER): some tests of a window test once more, in the locale C.
function(corridor_same_test_in_locale_c target filter)
  add_test(NAME ${target}_in_locale_c COMMAND ${target} --gtest_filter=${filter})
  set_tests_properties(${target}_in_locale_c PROPERTIES TIMEOUT ${CORRIDOR_TEST_SECONDS} RESOURCE_LOCK display
                       ENVIRONMENT "LC_ALL=C;LANG=C;LANGUAGE=")
endfunction()

# corridor_test_support(NAME SOURCES...): what several tests share, compiled once. They can use its precompiled header,
# because they are compiled as position independent as a library is.
function(corridor_test_support target)
  corridor_library(${target} STATIC ${ARGN})
  target_link_libraries(${target} PUBLIC GTest::gtest)
  if(NOT MSVC)
    target_compile_options(${target} PUBLIC -fPIC)
  endif()
endfunction()

# Adds globe/ or an installed osgEarth, both as Corridor::Globe. Only workbench/viewer sees a difference.
function(corridor_select_globe)
  set(use_installed FALSE)
  if(NOT CORRIDOR_GLOBE STREQUAL "builtin")
    find_path(OSGEARTH_INCLUDE_DIR osgEarth/MapNode)
    set(parts osgEarth)
    foreach(part osgEarthSymbology osgEarthFeatures osgEarthAnnotation osgEarthUtil)
      find_library(${part}_LIBRARY ${part})
      if(${part}_LIBRARY)
        list(APPEND parts ${part})
      endif()
    endforeach()
    find_library(osgEarth_LIBRARY osgEarth)
    if(OSGEARTH_INCLUDE_DIR AND osgEarth_LIBRARY)
      set(use_installed TRUE)
    elseif(CORRIDOR_GLOBE STREQUAL "osgearth")
      message(FATAL_ERROR "CORRIDOR_GLOBE=osgearth, but no installed osgEarth was found")
    endif()
  endif()

  if(use_installed)
    add_library(corridor_globe INTERFACE)
    target_include_directories(corridor_globe SYSTEM INTERFACE ${OSGEARTH_INCLUDE_DIR})
    foreach(part ${parts})
      target_link_libraries(corridor_globe INTERFACE ${${part}_LIBRARY})
    endforeach()
    target_link_libraries(corridor_globe INTERFACE Corridor::OSG)
    target_compile_definitions(corridor_globe INTERFACE CORRIDOR_GLOBE_INSTALLED)
  else()
    add_subdirectory(globe)
  endif()
  add_library(Corridor::Globe ALIAS corridor_globe)
  message(STATUS "Globe: ${CORRIDOR_GLOBE}, installed osgEarth used: ${use_installed}")
endfunction()
