# Which sources make up what, said once for the library's layers, the rules
# and edges they share with the inspection, and the native fuzz build (a
# project of its own). Absolute paths, from this file's place in the tree.
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

# The rules: pure decisions, parsers and rule tables, data in and data out.
# No logger, no parameter store, no collaborator, no file: what needs one
# takes it as a parameter or stays in its layer (checked as the unit "rules"
# below). Compiled once (grs_rules) and linked by the layers and the
# inspection; the fuzz targets drive them.
set(GRS_RULES_SOURCES
    ${GRS_SOURCE_ROOT}/core/IniFile.cpp
    ${GRS_SOURCE_ROOT}/serverconfig/RegionJson.cpp
    ${GRS_SOURCE_ROOT}/serverconfig/ServerRegion.cpp
    ${GRS_SOURCE_ROOT}/route/RouteDetail.cpp
    ${GRS_SOURCE_ROOT}/route/RouteKeys.cpp
    ${GRS_SOURCE_ROOT}/settings/SettingRules.cpp
    ${GRS_SOURCE_ROOT}/settings/ProfileText.cpp)

# What the inspection needs of the layers beside the rules: the settings
# document's file edge and the route record's JSON form. Compiled once too
# (grs_edges), linked by the layers and the inspection; they log through
# core/Log.h, whose Write the linking program brings (the library's
# core/Log.cpp writes to the client's logger; the support program, which
# links none of the client's libraries, has its own).
set(GRS_EDGE_SOURCES
    ${GRS_SOURCE_ROOT}/core/LogException.cpp
    ${GRS_SOURCE_ROOT}/core/IniFileIo.cpp
    ${GRS_SOURCE_ROOT}/route/RouteJson.cpp)

# The sources of one layer: every source of its folder but the kit's, the
# rules' and the edges' (each compiled once, in its own library).
function(grs_layer_sources name out)
  file(GLOB sources CONFIGURE_DEPENDS ${GRS_SOURCE_ROOT}/${name}/*.cpp)
  list(REMOVE_ITEM sources ${GRS_KIT_SOURCES} ${GRS_RULES_SOURCES} ${GRS_EDGE_SOURCES})
  set(${out} ${sources} PARENT_SCOPE)
endfunction()

# Who may include whom, checked on every #include of the library, the
# stand-in and support/ (cmake/CheckLayers.cmake, a step of the build). A file
# belongs to the longest entry below that names it or its folder; "kit" is the
# file and text kit of core, "collaborators" the client's library headers.
set(GRS_UNIT_PATHS_kit core/UniqueResource.h core/TextUtil.h core/TextUtil.cpp core/PathUtil.h
                       core/PathUtil.cpp core/FileIo.h core/FileIo.cpp core/HashUtil.h core/HashUtil.cpp)
set(GRS_UNIT_PATHS_collaborators include/globalrootservice/collaborators)
# The rules (GRS_RULES_SOURCES and the headers they offer): pure, so they may
# use the kit's text and file types but never the logger, Guarded, the
# collaborators or a layer.
set(GRS_UNIT_PATHS_rules core/IniFile.h core/IniFile.cpp core/IniText.h serverconfig/JsonConfig.h
                         serverconfig/RegionJson.h serverconfig/RegionJson.cpp serverconfig/ServerRegion.h
                         serverconfig/ServerRegion.cpp include/globalrootservice/ServiceAddressEnum.h
                         route/RouteDetail.h route/RouteDetail.cpp route/RouteKeys.h route/RouteKeys.cpp
                         settings/SettingRules.h settings/ProfileText.h settings/ProfileText.cpp settings/SettingRules.cpp)
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
set(GRS_UNIT_USES_rules kit)
set(GRS_UNIT_USES_core rules kit collaborators)
set(GRS_UNIT_USES_serverconfig core rules kit collaborators)
set(GRS_UNIT_USES_route serverconfig core rules kit collaborators)
set(GRS_UNIT_USES_settings core rules kit collaborators)
set(GRS_UNIT_USES_userprops settings core rules kit collaborators)
set(GRS_UNIT_USES_dll route userprops serverconfig settings core rules kit collaborators)
set(GRS_UNIT_USES_standin support kit collaborators)
set(GRS_UNIT_USES_support kit collaborators)
# A public header that no entry above claims belongs to no layer.
set(GRS_UNIT_USES_public "")
set(GRS_UNITS kit collaborators rules core serverconfig route settings userprops dll standin support public)
