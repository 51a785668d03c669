# Puts what a start runs through side by side in the static compiler.
#
# The kernel maps a program by 64 KiB around each address that it touches first,
# which costs a start some 5 microseconds of 550. The C library's routines lie
# where the archive has them, so that a start went through 19 such regions; in
# this order it goes through 10. It changes nothing but places: a name that a
# library does not have is left out by the linker.

set(start_members
  # Starting and ending
  libc-start libc-tls libc_early_init init-first init-misc ctype-info
  cxa_atexit exit _exit libc-cleanup elision-conf pthread_mutex_conf getrlimit64
  dl-debug dl-early_allocate dl-find_object dl-load dl-lookup dl-misc dl-object
  dl-origin dl-reloc dl-setup_hash dl-support dl-tls dl-tls_init_tp dl-tunables
  # Memory and locks
  malloc brk sbrk mprotect getrandom pthread_mutex_lock pthread_mutex_unlock
  # Files, signals, the name of the machine
  open64 read write close rename stat64 fstat64 lstat64 fstatat64 faccessat
  fchmod getpid geteuid getegid errno-loc genops signal sigaction libc_sigaction
  setjmp bsd-_setjmp sigjmp getenv gethostname uname
  # The choice of routines for the processor, made for each at a start
  memchr memcmp memcpy memmove mempcpy memrchr memset rawmemchr stpcpy
  strcasecmp strcasecmp_l strchr strchrnul strcmp strcpy strcspn strdup strlen
  strncase strncase_l strncmp strncpy strnlen strpbrk strrchr strsep strspn
  strstr wcslen wcsnlen wmemchr wmemset
  # What is chosen on processors of today
  memchr-avx2 memmove-avx-unaligned-erms memrchr-avx2
  memset-avx2-unaligned-erms strchr-avx2 strchrnul-avx2 strcmp-avx2 strlen-avx2
  strncmp-avx2 strnlen-avx2 strrchr-avx2
  memchr-evex memmove-avx512-unaligned-erms memmove-evex-unaligned-erms
  memrchr-evex memset-avx512-unaligned-erms memset-evex-unaligned-erms
  strchr-evex strchrnul-evex strcmp-evex strlen-evex strncmp-evex strnlen-evex
  strrchr-evex strcspn-sse4)
list(TRANSFORM start_members PREPEND "*libc.a:")
list(APPEND start_members "*libm-*.a:s_sin" "*libm-*.a:s_tan"
  "*libm-*.a:e_pow" "*libgcc_eh.a:unwind-dw2-fde-dip" "*libstdc++.a:eh_alloc"
  "*libstdc++.a:hash_bytes" "*libstdc++.a:hashtable_c++0x")

# Tables are large in the mathematical library, and none is read at a start.
set(start_tables ${start_members})
list(FILTER start_tables EXCLUDE REGEX "libm-")
list(TRANSFORM start_members APPEND ".o(.text .text.*)")
list(TRANSFORM start_tables APPEND ".o(.rodata .rodata.*)")
list(JOIN start_members "\n" start_code)
list(JOIN start_tables "\n" start_data)

set(QUILLO_START_ORDER ${CMAKE_BINARY_DIR}/start_order.ld)
file(CONFIGURE OUTPUT ${QUILLO_START_ORDER} CONTENT
"SECTIONS { .text_start : {
@start_code@
} } INSERT BEFORE .text;
SECTIONS { .rodata_start : {
@start_data@
} } INSERT BEFORE .rodata;
")

# Not every linker can add to the places that it would choose itself, or leave
# out the gaps between code and data.
include(CheckLinkerFlag)
check_linker_flag(CXX "LINKER:-T,${QUILLO_START_ORDER}" QUILLO_HAS_START_ORDER)
check_linker_flag(CXX "LINKER:-z,noseparate-code" QUILLO_HAS_NO_GAPS)
