# What all targets share: language, warnings, sanitizers, places.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

include(GNUInstallDirs)
find_package(Threads REQUIRED)

# Fixed places of the build tree.
set(CW_BIN_DIR ${CMAKE_BINARY_DIR}/bin)
set(CW_FIXTURE_DIR ${CMAKE_BINARY_DIR}/fixture)
set(CW_SAMPLES_DIR ${CMAKE_BINARY_DIR}/samples)

# Programs and libraries find each other by their place, so an installation can be moved whole.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

add_library(cw_settings INTERFACE)
target_include_directories(cw_settings INTERFACE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
target_compile_options(cw_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    # GCC 12 sees uninitialised members in moved-from std::variant, and overlapping copies in
    # std::string, where there are none.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized> $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
# Build folders from when this was a switch say ON.
if(CW_SANITIZE STREQUAL "ON")
    set_property(CACHE CW_SANITIZE PROPERTY VALUE "address,undefined")
endif()
set(CW_TEST_PROPERTIES TIMEOUT 300)
if(CW_SANITIZE)
    target_compile_options(cw_settings INTERFACE
        -fsanitize=${CW_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(cw_settings INTERFACE -fsanitize=${CW_SANITIZE})
    if(CW_SANITIZE MATCHES "thread")
        list(APPEND CW_TEST_PROPERTIES ENVIRONMENT "TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1")
    endif()
endif()

# cw_room(NAME SOURCES … LINK …): a static library of one room.
function(cw_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;LINK;PRIVATE_LINK" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_link_libraries(${name} PUBLIC ${ROOM_LINK} PRIVATE cw_settings ${ROOM_PRIVATE_LINK})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
endfunction()

# cw_reader(NAME FILE DIRECTORY SOURCES … LINK …): a reader library. It exports its entry point
# alone and has no SONAME that a bare name could match by accident.
function(cw_reader name)
    cmake_parse_arguments(READER "" "FILE;DIRECTORY" "SOURCES;LINK" ${ARGN})
    add_library(${name} MODULE ${READER_SOURCES})
    target_link_libraries(${name} PRIVATE cw_settings cw_automation ${READER_LINK})
    set_target_properties(${name} PROPERTIES
        OUTPUT_NAME ${READER_FILE} PREFIX "" SUFFIX ""
        NO_SONAME ON
        CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
        LIBRARY_OUTPUT_DIRECTORY ${READER_DIRECTORY}
        INSTALL_RPATH "$ORIGIN/..")
    target_link_options(${name} PRIVATE
        -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/reader.map -Wl,--no-undefined)
    set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/reader.map)
endfunction()

# cw_test(NAME SOURCES … LINK …): one GoogleTest program of a room, each of its tests known to CTest.
function(cw_test name)
    cmake_parse_arguments(TEST "WINDOW" "" "SOURCES;LINK" ${ARGN})
    find_package(GTest REQUIRED)
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE ${TEST_LINK} cw_settings GTest::gmock GTest::gtest_main)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
    target_compile_definitions(${name} PRIVATE
        CW_TEST_BUILD_DIR="${CMAKE_BINARY_DIR}" CW_TEST_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
    # Tests are many and run once: optimising them takes longer than it spares. What they test is built
    # as it ships.
    target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O0>)
    include(GoogleTest)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST TEST_PREFIX ${name}/ PROPERTIES ${CW_TEST_PROPERTIES})
endfunction()
