# Static libraries need what they were built with.
include(CMakeFindDependencyMacro)
find_dependency(Threads)

include(${CMAKE_CURRENT_LIST_DIR}/zelAdvancedTargets.cmake)
