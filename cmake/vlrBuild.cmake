# What every target of this project is built with, and how a library is declared and installed.

include(CMakePackageConfigHelpers)

option(VLR_VERSION_INFORMATION "Compile the version, the revision and the time of the build in" ON)
option(VLR_SANITIZE "Build with the address, undefined-behaviour and leak sanitizers" OFF)
option(VLR_FUZZ "Build the programs of libFuzzer; needs clang and VLR_SANITIZE" OFF)
option(VLR_SANITIZE_THREADS "Build with the thread sanitizer, which excludes the others" OFF)

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_VERIFY_INTERFACE_HEADER_SETS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}")
# What is built has the run path of what is installed: CMake would fill another one up with empty
# elements, each of which lets a library in the current folder be executed.
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}:$ORIGIN")
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)

add_library(vlrBuildOptions INTERFACE)
target_compile_features(vlrBuildOptions INTERFACE cxx_std_17)
target_compile_definitions(vlrBuildOptions INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_FOREACH
    QT_STRICT_ITERATORS
    QT_DISABLE_DEPRECATED_BEFORE=0x050F00)
# Log lines name source files; they shall read the same on every machine.
target_compile_options(vlrBuildOptions INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    -Wold-style-cast -Wsuggest-override -Wformat=2
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond>
    $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op>
    -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(VLR_SANITIZE)
    target_compile_options(vlrBuildOptions INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vlrBuildOptions INTERFACE -fsanitize=address,undefined)
elseif(VLR_SANITIZE_THREADS)
    target_compile_options(vlrBuildOptions INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
    target_link_options(vlrBuildOptions INTERFACE -fsanitize=thread)
endif()
if(VLR_FUZZ)
    # Of a class that a library hides, clang finds another type in each library.
    target_compile_options(vlrBuildOptions INTERFACE
        -fsanitize=fuzzer-no-link -fno-sanitize=function,vptr)
endif()

# vlr_sanitizer_defaults(<executable>): what the sanitizers shall not report of libraries below.
function(vlr_sanitizer_defaults target)
    if(VLR_SANITIZE)
        target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/SanitizerDefaults.cpp")
    elseif(VLR_SANITIZE_THREADS)
        target_sources(${target} PRIVATE
            "${PROJECT_SOURCE_DIR}/cmake/ThreadSanitizerDefaults.cpp")
    endif()
endfunction()

# vlr_add_library(<Name> HEADERS ... SOURCES ... PUBLIC ... PRIVATE ...)
# The shared library vlr<Name>, known as vlr::<Name>. HEADERS are the public ones: they are
# checked to compile alone and are installed.
function(vlr_add_library name)
    cmake_parse_arguments(arg "" "" "HEADERS;SOURCES;PUBLIC;PRIVATE" ${ARGN})
    set(target vlr${name})
    string(TOUPPER ${name} upper)
    add_library(${target} SHARED ${arg_SOURCES})
    add_library(vlr::${name} ALIAS ${target})
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS src FILES ${arg_HEADERS})
    target_compile_features(${target} PUBLIC cxx_std_17)
    # With the second one a setting that is read without a declaration does not compile.
    target_compile_definitions(${target} PRIVATE
        VLR_${upper}_LIBRARY VLR_SETTINGS_ARE_DECLARED)
    target_link_libraries(${target}
        PUBLIC ${arg_PUBLIC}
        PRIVATE ${arg_PRIVATE} $<BUILD_INTERFACE:vlrBuildOptions>)
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${name}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    install(TARGETS ${target} EXPORT vlrTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vlr/${name})
    list(TRANSFORM arg_HEADERS REPLACE "^src/" "${name}/") # as it is installed
    set_property(GLOBAL APPEND PROPERTY VLR_PUBLIC_HEADERS ${arg_HEADERS})
endfunction()

# vlr_add_version_information(<target> <template>): compiles into the target what its build knows
# of itself. The revision is looked up at every build, but only a new one, or a change of the
# libraries' sources, compiles that one file again.
function(vlr_add_version_information target template)
    set(revisionFile "${PROJECT_BINARY_DIR}/revision.txt")
    set(output "${CMAKE_CURRENT_BINARY_DIR}/VersionInformation.cpp")
    add_custom_target(${target}Revision
        COMMAND ${CMAKE_COMMAND} -D "source=${PROJECT_SOURCE_DIR}" -D "file=${revisionFile}"
            -P "${PROJECT_SOURCE_DIR}/cmake/vlrRevision.cmake"
        BYPRODUCTS "${revisionFile}"
        COMMENT "" VERBATIM)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS
        "${PROJECT_SOURCE_DIR}/libraries/*.h" "${PROJECT_SOURCE_DIR}/libraries/*.cpp")
    add_custom_command(OUTPUT "${output}"
        COMMAND ${CMAKE_COMMAND}
            -D "enabled=${VLR_VERSION_INFORMATION}" -D "version=${PROJECT_VERSION}"
            -D "buildKey=${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}, ${CMAKE_BUILD_TYPE}"
            -D "revisionFile=${revisionFile}" -D "output=${output}"
            -D "template=${CMAKE_CURRENT_SOURCE_DIR}/${template}"
            -P "${PROJECT_SOURCE_DIR}/cmake/vlrVersionInformation.cmake"
        DEPENDS "${template}" "${revisionFile}" ${sources}
            "${PROJECT_SOURCE_DIR}/cmake/vlrVersionInformation.cmake"
        COMMENT "Writing the version information of ${target}" VERBATIM)
    add_dependencies(${target} ${target}Revision)
    target_sources(${target} PRIVATE "${output}")
    target_include_directories(${target} PRIVATE src)
    set_property(SOURCE "${output}" PROPERTY SKIP_AUTOGEN ON)
endfunction()

# The files that find_package(vlr) reads.
function(vlr_install_package)
    set(destination ${CMAKE_INSTALL_LIBDIR}/cmake/vlr)
    install(EXPORT vlrTargets NAMESPACE vlr:: DESTINATION ${destination})
    configure_package_config_file(
        "${PROJECT_SOURCE_DIR}/cmake/vlrConfig.cmake.in" "${PROJECT_BINARY_DIR}/vlrConfig.cmake"
        INSTALL_DESTINATION ${destination})
    write_basic_package_version_file(
        "${PROJECT_BINARY_DIR}/vlrConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
    install(FILES
        "${PROJECT_BINARY_DIR}/vlrConfig.cmake" "${PROJECT_BINARY_DIR}/vlrConfigVersion.cmake"
        DESTINATION ${destination})
endfunction()
