# Installs the build tree and holds an application and every public header against what was
# installed. The variables come from CMakeLists.txt beside this file.
cmake_minimum_required(VERSION 3.24)

set(prefix "${work}/prefix")

# run(<what> COMMAND...): stops the test when the command fails.
function(run what)
    execute_process(COMMAND ${ARGN}
        RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${what} failed (${status}):\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

# configure(<project> <build> <prefix> OPTION...): what only the libraries themselves are built
# with must not be needed by those who use them.
function(configure project build installed)
    run("Configuring ${project}" "${CMAKE_COMMAND}" -S "${CMAKE_CURRENT_LIST_DIR}/${project}"
        -B "${build}" -G "${generator}" "-DCMAKE_CXX_COMPILER=${compiler}"
        "-DCMAKE_PREFIX_PATH=${installed}"
        -DCMAKE_DISABLE_FIND_PACKAGE_spdlog=ON -DCMAKE_DISABLE_FIND_PACKAGE_Qt5Svg=ON
        -DCMAKE_DISABLE_FIND_PACKAGE_OpenIGTLink=ON -DCMAKE_DISABLE_FIND_PACKAGE_EXPAT=ON
        -DCMAKE_DISABLE_FIND_PACKAGE_ICU=ON
        -DCMAKE_DISABLE_FIND_PACKAGE_SQLite3=ON ${ARGN})
endfunction()

# The files that find_package reads must not lead back to the trees they were made from.
function(check_relocatable)
    file(GLOB_RECURSE files "${prefix}/*.cmake")
    foreach(file IN LISTS files)
        file(READ "${file}" text)
        foreach(tree IN ITEMS "${sourceTree}" "${buildTree}")
            string(FIND "${text}" "${tree}" position)
            if(NOT position EQUAL -1)
                message(SEND_ERROR "${file} mentions ${tree}.")
            endif()
        endforeach()
    endforeach()
endfunction()

# A library is looked for in every element of a run path; an empty or relative one is the folder in
# which a program happens to be started.
function(check_run_paths tree)
    file(GLOB_RECURSE files "${tree}/*")
    set(count 0)
    foreach(file IN LISTS files)
        file(READ "${file}" magic LIMIT 4 HEX)
        if(NOT magic STREQUAL "7f454c46" OR IS_SYMLINK "${file}" OR file MATCHES "\\.o$")
            continue()
        endif()
        run("Reading ${file}" readelf --dynamic --wide "${file}")
        string(REGEX MATCHALL "\\((RPATH|RUNPATH)\\)[^\n]*" entries "${output}")
        foreach(entry IN LISTS entries)
            string(REGEX REPLACE ".*\\[(.*)\\]" ":\\1:" path "${entry}")
            if(path MATCHES "::|:[^/$:]|:[$][^O]")
                message(SEND_ERROR "${file} looks for libraries in \"${path}\".")
            endif()
        endforeach()
        math(EXPR count "${count} + 1")
    endforeach()
    if(count EQUAL 0)
        message(SEND_ERROR "${tree} holds no program.")
    endif()
endfunction()

function(check_application)
    set(build "${work}/application")
    configure(application "${build}" "${prefix}")
    run("Building the application" "${CMAKE_COMMAND}" --build "${build}")
    file(MAKE_DIRECTORY "${work}/home")
    run("Running the application" "${CMAKE_COMMAND}" -E env
        QT_QPA_PLATFORM=offscreen "HOME=${work}/home" "XDG_CONFIG_HOME=${work}/home/config"
        "XDG_DATA_HOME=${work}/home/data" "XDG_CACHE_HOME=${work}/home/cache"
        "${build}/application")
    if(NOT output MATCHES "The window is shown: Ten Lines\n")
        message(SEND_ERROR "The application did not show its window:\n${output}")
    endif()

    file(GET_RUNTIME_DEPENDENCIES EXECUTABLES "${build}/application"
        RESOLVED_DEPENDENCIES_VAR libraries PRE_EXCLUDE_REGEXES "Qt5")
    list(FILTER libraries INCLUDE REGEX "/libvlr")
    if(libraries STREQUAL "")
        message(SEND_ERROR "The application uses none of the libraries.")
    endif()
    foreach(library IN LISTS libraries)
        cmake_path(IS_PREFIX prefix "${library}" isInstalled)
        if(NOT isInstalled)
            message(SEND_ERROR "The application uses ${library}, which is not installed.")
        endif()
    endforeach()
endfunction()

# A header that it needs and that is not installed, or a symbol that no library gives away, would be
# missing to everybody who copies it.
function(check_navigator)
    configure(navigator "${work}/navigator" "${prefix}" "-DNAVIGATOR=${sourceTree}/examples/Navigator")
    run("Building Navigator" "${CMAKE_COMMAND}" --build "${work}/navigator" --parallel 2)
    run("Running Navigator" "${CMAKE_COMMAND}" -E env QT_QPA_PLATFORM=offscreen
        "${work}/navigator/Navigator" --version)
    if(NOT output MATCHES "0\\.1\\.0")
        message(SEND_ERROR "Navigator did not say its version:\n${output}")
    endif()
endfunction()

function(check_headers)
    configure(headers "${work}/headers" "${prefix}" "-DHEADER_LIST=${headerList}")
    run("Compiling the public headers" "${CMAKE_COMMAND}" --build "${work}/headers" --parallel 2)
endfunction()

function(expect_complaint what header)
    execute_process(COMMAND "${CMAKE_COMMAND}" --build "${work}/damagedHeader"
        RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(status EQUAL 0 OR NOT output MATCHES "${header}")
        message(SEND_ERROR "A header that ${what} was not noticed (${status}):\n${output}")
    endif()
endfunction()

# A check of headers that notices nothing would go unnoticed, so it is tried on damaged ones.
function(check_header_check)
    set(header "Core/Data/Patient.h")
    set(copy "${work}/damagedPrefix")
    file(COPY "${prefix}/" DESTINATION "${copy}")
    set(file "${copy}/include/vlr/${header}")
    file(WRITE "${work}/damagedHeader.txt" "${header}\n")
    configure(headers "${work}/damagedHeader" "${copy}"
        "-DHEADER_LIST=${work}/damagedHeader.txt")
    run("Compiling one header of an undamaged copy"
        "${CMAKE_COMMAND}" --build "${work}/damagedHeader")

    file(READ "${file}" text)
    string(REGEX REPLACE "#include [^\n]*" "" text "${text}")
    file(WRITE "${file}" "${text}")
    expect_complaint("is not self-contained" "${header}")
    file(REMOVE "${file}")
    expect_complaint("is missing" "Data/Patient.h")
endfunction()

file(REMOVE_RECURSE "${work}")
run("Installing" "${CMAKE_COMMAND}"
    --install "${buildTree}" --prefix "${prefix}" --config "${config}")
check_run_paths("${buildTree}/bin")
check_run_paths("${buildTree}/${libraryFolder}")
check_run_paths("${prefix}")
check_relocatable()
check_application()
if(checkNavigator)
    check_navigator()
endif()
check_headers()
check_header_check()
file(REMOVE_RECURSE "${work}")
