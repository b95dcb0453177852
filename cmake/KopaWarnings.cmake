# Warnings for our own targets only; third-party headers come in as SYSTEM.
function(kopa_set_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra)
    # GCC on ARM notes every std::vector iterator passed by value, because GCC 7.1 changed how
    # such arguments are passed; everything here is built by one compiler, so it never matters.
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
        target_compile_options(${target} PRIVATE -Wno-psabi)
    endif()
    if(KOPA_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
