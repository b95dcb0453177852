# Warnings for our own targets only; third-party headers come in as SYSTEM.
function(kopa_set_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra)
    if(KOPA_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
