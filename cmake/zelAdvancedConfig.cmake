include(${CMAKE_CURRENT_LIST_DIR}/zelAdvancedTargets.cmake)
