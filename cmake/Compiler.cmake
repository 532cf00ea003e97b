# Warnings, hardening and sanitizers.

# -Wrestrict is off: GCC 12 reports it falsely for std::string.
function(sdkapi_target_warnings target)
  set(common -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2 -Wundef -Wcast-align -Werror)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    list(APPEND common -Wno-restrict)
  endif()
  target_compile_options(
    ${target} PRIVATE ${common} $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual
                                                          -Wmissing-declarations>
                      $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>)
  if(SDKAPI_SANITIZE)
    # Instrumented standard headers make GCC 12 report this falsely.
    target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
  endif()
endfunction()

# What a shipped build gets; sanitizer builds bring their own checks.
function(sdkapi_harden target)
  if(SDKAPI_SANITIZE)
    return()
  endif()
  target_compile_options(
    ${target} PRIVATE $<$<CONFIG:Release>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2> -fstack-protector-strong
                      -fstack-clash-protection -ffunction-sections -fdata-sections
                      $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection>)
  target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now,-z,noexecstack,-z,defs -Wl,--gc-sections -Wl,--as-needed)
endfunction()

if(SDKAPI_SANITIZE)
  add_compile_options(-fsanitize=${SDKAPI_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${SDKAPI_SANITIZE})
endif()
