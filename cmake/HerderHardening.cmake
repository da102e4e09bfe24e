# The hardening Debian builds its packages with: the flags that `dpkg-buildflags` gives with
# DEB_BUILD_MAINT_OPTIONS=hardening=+all on Debian 12 (stack protector, fortified libc calls,
# format checks, position-independent executables, read-only relocations bound at start). The
# sanitizer and fuzz builds leave it out: they bring their own instrumentation, and the fortified
# calls would hide overflows from AddressSanitizer.
include(CheckPIESupported)

check_pie_supported(LANGUAGES C CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_compile_options(-fstack-protector-strong -Wformat -Werror=format-security)
# Fortification needs the optimiser; an unoptimised build would only warn about it.
add_compile_definitions($<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
add_link_options(-Wl,-z,relro -Wl,-z,now)
