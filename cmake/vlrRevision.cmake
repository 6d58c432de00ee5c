# Run at every build: writes the revision of the sources in `source` to `file`, which is touched
# only when the revision changed. "unknown" where there is no repository, or where the sources
# merely lie inside of somebody else's.
set(revision "unknown")
find_program(git git)
if(git)
    execute_process(COMMAND "${git}" -C "${source}" rev-parse --show-toplevel
        OUTPUT_VARIABLE top ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
    file(REAL_PATH "${source}" here)
    if(top)
        file(REAL_PATH "${top}" top)
    endif()
    if(top STREQUAL here)
        execute_process(
            COMMAND "${git}" -C "${source}" describe --always --dirty --exclude=* --abbrev=12
            OUTPUT_VARIABLE described RESULT_VARIABLE status ERROR_QUIET
            OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(status EQUAL 0 AND described)
            set(revision "${described}")
        endif()
    endif()
endif()
set(previous "")
if(EXISTS "${file}")
    file(READ "${file}" previous)
endif()
if(NOT previous STREQUAL revision)
    file(WRITE "${file}" "${revision}")
endif()
