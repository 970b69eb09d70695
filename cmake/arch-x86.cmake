# 32-bit Windows, as compilers, linker and crt/ are told of it.
set(WENDAX_RING_SUFFIX "")
set(WENDAX_TARGET i686-pc-windows-msvc)
set(WENDAX_MINGW /usr/i686-w64-mingw32)
set(WENDAX_ARCH_DEFINITION -D_X86_=1)
set(WENDAX_ARCH_WARNINGS)
set(WENDAX_FAULT_OPTIONS)
set(WENDAX_AFTER_LINK)
set(WENDAX_DLLTOOL_MACHINE i386)
set(WENDAX_LINK_ARCH "/machine:x86 /safeseh")
set(WENDAX_DLL_ENTRY _DllMainCRTStartup@12)
# Where images would like to lie: before the digits that each DLL gives.
set(WENDAX_BASE 0x)
