# find_package(tessary) reads this: afterwards there is the target tessary::tessary.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/tessary-targets.cmake)
