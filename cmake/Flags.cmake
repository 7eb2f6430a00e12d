# Compiler and linker flags of every target, as one interface library.
add_library(corvantis_flags INTERFACE)

target_compile_options(corvantis_flags INTERFACE -Wall -Wextra -Wformat=2)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ 12 sees overlapping copies inside std::string's operator+ where there are none.
    target_compile_options(corvantis_flags INTERFACE -Wno-restrict)
endif()
if(CORVANTIS_WERROR)
    target_compile_options(corvantis_flags INTERFACE -Werror)
endif()

if(MINGW)
    # printf() as the standard has it, not as Windows does.
    target_compile_definitions(corvantis_flags INTERFACE __USE_MINGW_ANSI_STDIO=1)
endif()

if(CORVANTIS_NATIVE)
    set(CORVANTIS_ARCH native)
endif()
if(CORVANTIS_ARCH)
    target_compile_options(corvantis_flags INTERFACE -march=${CORVANTIS_ARCH})
endif()

if(CORVANTIS_FUZZ)
    target_compile_options(corvantis_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(CORVANTIS_SANITIZE OR CORVANTIS_FUZZ)
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_options(corvantis_flags INTERFACE ${sanitizers})
    target_link_options(corvantis_flags INTERFACE ${sanitizers})
    target_compile_definitions(corvantis_flags INTERFACE CORVANTIS_SANITIZED)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Seen by g++ 12 inside std::regex once the sanitizers have rewritten it.
        target_compile_options(corvantis_flags INTERFACE -Wno-maybe-uninitialized)
    endif()
endif()
