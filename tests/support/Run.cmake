# run(COMMAND ...): runs it, ends the test where it fails, and leaves what it wrote in `output`.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}\nanswered ${result}:\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()
