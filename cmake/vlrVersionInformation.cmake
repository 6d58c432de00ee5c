# Run when something that is compiled in changed: fills `template` and writes it to `output`.
# SOURCE_DATE_EPOCH in the environment stands for the time of a reproducible build.
set(buildTime "")
if(enabled)
    string(TIMESTAMP buildTime "%Y-%m-%d %H:%M:%S UTC" UTC)
endif()
file(READ "${revisionFile}" revision)
configure_file("${template}" "${output}" @ONLY)
