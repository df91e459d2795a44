include(CMakeFindDependencyMacro)
find_dependency(Threads)
find_dependency(Boost 1.74 COMPONENTS filesystem thread system)
include("${CMAKE_CURRENT_LIST_DIR}/OxParserTargets.cmake")
