# Which sources make up what, said once for the library's layers, the
# inspection's copy of the pure decisions and the native fuzz build (a project
# of its own). Absolute paths, from this file's place in the tree.
get_filename_component(GRS_SOURCE_ROOT "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)

# The layers from the bottom up; dll packages them all.
#   core <- serverconfig <- route;  core <- settings <- userprops;  dll on top.
set(GRS_LAYER_NAMES core serverconfig route settings userprops)

# The file and text kit of core: no logging, no client library, so that the
# stand-in, the tools and the tests use the same helpers as the library.
set(GRS_KIT_SOURCES
    ${GRS_SOURCE_ROOT}/core/TextUtil.cpp
    ${GRS_SOURCE_ROOT}/core/PathUtil.cpp
    ${GRS_SOURCE_ROOT}/core/HashUtil.cpp
    ${GRS_SOURCE_ROOT}/core/FileIo.cpp)

# Pure decisions and parsers: data in, data out, no exported class, no state of
# the process. The inspection judges with them and the fuzz targets drive them.
set(GRS_PURE_SOURCES
    ${GRS_SOURCE_ROOT}/core/IniFile.cpp
    ${GRS_SOURCE_ROOT}/core/Log.cpp
    ${GRS_SOURCE_ROOT}/serverconfig/RegionJson.cpp
    ${GRS_SOURCE_ROOT}/serverconfig/ServerRegion.cpp
    ${GRS_SOURCE_ROOT}/route/RouteDetail.cpp
    ${GRS_SOURCE_ROOT}/route/RouteJson.cpp
    ${GRS_SOURCE_ROOT}/settings/SettingRules.cpp)

# The sources of one layer: every source of its folder but the kit's.
function(grs_layer_sources name out)
  file(GLOB sources CONFIGURE_DEPENDS ${GRS_SOURCE_ROOT}/${name}/*.cpp)
  list(REMOVE_ITEM sources ${GRS_KIT_SOURCES})
  set(${out} ${sources} PARENT_SCOPE)
endfunction()

# Who may include whom, checked on every #include of the library, the
# stand-in and support/ (cmake/CheckLayers.cmake, a step of the build). A file
# belongs to the longest entry below that names it or its folder; "kit" is the
# file and text kit of core, "collaborators" the client's library headers.
set(GRS_UNIT_PATHS_kit core/UniqueResource.h core/TextUtil.h core/TextUtil.cpp core/PathUtil.h
                       core/PathUtil.cpp core/FileIo.h core/FileIo.cpp core/HashUtil.h core/HashUtil.cpp)
set(GRS_UNIT_PATHS_collaborators include/globalrootservice/collaborators)
set(GRS_UNIT_PATHS_core core include/globalrootservice/GlobalRootServiceExport.h
                        include/globalrootservice/IniFileHelper.h)
set(GRS_UNIT_PATHS_serverconfig serverconfig include/globalrootservice/ServerConfigHelper.h
                                include/globalrootservice/ServiceAddressEnum.h)
set(GRS_UNIT_PATHS_route route include/globalrootservice/GlobalParameter.h include/globalrootservice/Zorvane.h
                         include/globalrootservice/ZRVInfo.h)
set(GRS_UNIT_PATHS_settings settings include/globalrootservice/ClientInitialize.h)
set(GRS_UNIT_PATHS_userprops userprops)
set(GRS_UNIT_PATHS_dll dll include/globalrootservice/GlobalRootService.h)
set(GRS_UNIT_PATHS_standin standin)
set(GRS_UNIT_PATHS_support support)
# Anything else of the tree (tests, tools, host, bench, fuzz) may include
# everything and no unit may include it.
set(GRS_UNIT_PATHS_public include/globalrootservice)

set(GRS_UNIT_USES_kit "")
set(GRS_UNIT_USES_collaborators "")
set(GRS_UNIT_USES_core kit collaborators)
set(GRS_UNIT_USES_serverconfig core kit collaborators)
set(GRS_UNIT_USES_route serverconfig core kit collaborators)
set(GRS_UNIT_USES_settings core kit collaborators)
set(GRS_UNIT_USES_userprops settings core kit collaborators)
set(GRS_UNIT_USES_dll route userprops serverconfig settings core kit collaborators)
set(GRS_UNIT_USES_standin support kit collaborators)
set(GRS_UNIT_USES_support kit collaborators)
# A public header that no entry above claims belongs to no layer.
set(GRS_UNIT_USES_public "")
set(GRS_UNITS kit collaborators core serverconfig route settings userprops dll standin support public)
