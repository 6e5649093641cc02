# The version of the public header is everywhere else too: in the shared
# object's file name and SONAME and in the firmware recipes.
#
#   cmake -DSOURCE=<top> -DLIB=<libsimcard.so.X.Y.Z> -DREADELF=<readelf> -P check_version.cmake
foreach(part MAJOR MINOR PATCH)
  file(STRINGS ${SOURCE}/include/simcard.h line REGEX "^#define SIMCARD_VERSION_${part} ")
  string(REGEX REPLACE "^#define SIMCARD_VERSION_${part} +" "" ${part} "${line}")
endforeach()
set(version ${MAJOR}.${MINOR}.${PATCH})
file(STRINGS ${SOURCE}/include/simcard.h line REGEX "^#define SIMCARD_VERSION_STRING ")
if(NOT line STREQUAL "#define SIMCARD_VERSION_STRING \"${version}\"")
  message(FATAL_ERROR "SIMCARD_VERSION_STRING is not \"${version}\": ${line}")
endif()

get_filename_component(name ${LIB} NAME)
if(NOT name STREQUAL "libsimcard.so.${version}")
  message(FATAL_ERROR "the shared object is ${name}, not libsimcard.so.${version}")
endif()
execute_process(COMMAND ${READELF} -d ${LIB} OUTPUT_VARIABLE dynamic RESULT_VARIABLE rc)
string(REGEX MATCH "\\(SONAME\\)[^[]*\\[([^]]*)\\]" found "${dynamic}")
if(NOT rc EQUAL 0 OR NOT CMAKE_MATCH_1 STREQUAL "libsimcard.so.${MAJOR}")
  message(FATAL_ERROR "SONAME is '${CMAKE_MATCH_1}', not libsimcard.so.${MAJOR}")
endif()

foreach(recipe "packaging/openwrt/libsimcard/Makefile|PKG_VERSION:="
               "packaging/buildroot/package/libsimcard/libsimcard.mk|LIBSIMCARD_VERSION = ")
  string(REPLACE "|" ";" parts "${recipe}")
  list(GET parts 0 file)
  list(GET parts 1 key)
  file(STRINGS ${SOURCE}/${file} line REGEX "^${key}")
  if(NOT line STREQUAL "${key}${version}")
    message(FATAL_ERROR "${file}: '${line}', not ${key}${version}")
  endif()
endforeach()
message(STATUS "version ${version}: header, shared object, SONAME and recipes agree")
