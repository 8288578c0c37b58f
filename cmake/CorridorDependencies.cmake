# Everything the product calls but does not contain. All of it comes from the distribution's packages.

find_package(Threads REQUIRED)
find_package(GDAL 3.4 REQUIRED)
find_package(PROJ REQUIRED)
find_package(TIFF REQUIRED)
find_package(tl-expected REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Concurrent Gui Widgets OpenGL OpenGLWidgets Sql)

set(OpenGL_GL_PREFERENCE GLVND)
find_package(OpenGL REQUIRED)
find_package(OpenSceneGraph 3.6 REQUIRED COMPONENTS osgDB osgGA osgText osgTerrain osgSim osgUtil osgViewer)

add_library(corridor_osg INTERFACE)
add_library(Corridor::OSG ALIAS corridor_osg)
target_include_directories(corridor_osg SYSTEM INTERFACE ${OPENSCENEGRAPH_INCLUDE_DIRS})
target_link_libraries(corridor_osg INTERFACE ${OPENSCENEGRAPH_LIBRARIES} OpenGL::GL)

# Workbooks of tables.
find_path(XLSXWRITER_INCLUDE_DIR xlsxwriter.h REQUIRED)
find_library(XLSXWRITER_LIBRARY xlsxwriter REQUIRED)
add_library(corridor_xlsxwriter INTERFACE)
add_library(Corridor::XlsxWriter ALIAS corridor_xlsxwriter)
target_include_directories(corridor_xlsxwriter SYSTEM INTERFACE ${XLSXWRITER_INCLUDE_DIR})
target_link_libraries(corridor_xlsxwriter INTERFACE ${XLSXWRITER_LIBRARY})

# The client library of MariaDB, or of MySQL, which has the same interface.
find_path(MARIADB_INCLUDE_DIR mysql.h PATH_SUFFIXES mariadb mysql REQUIRED)
find_library(MARIADB_LIBRARY NAMES mariadb mysqlclient REQUIRED)
add_library(corridor_mariadb INTERFACE)
add_library(Corridor::MariaDb ALIAS corridor_mariadb)
target_include_directories(corridor_mariadb SYSTEM INTERFACE ${MARIADB_INCLUDE_DIR})
target_link_libraries(corridor_mariadb INTERFACE ${MARIADB_LIBRARY})

# What gives out memory to the workbench, all its libraries included (docs/decisions/0011-memory.md); sanitizers bring
# their own.
add_library(corridor_allocator INTERFACE)
add_library(Corridor::Allocator ALIAS corridor_allocator)
if(NOT CORRIDOR_SANITIZE AND NOT CORRIDOR_SANITIZE_THREADS)
  find_library(JEMALLOC_LIBRARY jemalloc REQUIRED)
  target_link_libraries(corridor_allocator INTERFACE ${JEMALLOC_LIBRARY})
endif()
