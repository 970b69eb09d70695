# 64-bit Windows, as compilers, linker and crt/ are told of it.
set(WENDAX_RING_SUFFIX "-x64")
set(WENDAX_TARGET x86_64-pc-windows-msvc)
set(WENDAX_MINGW /usr/x86_64-w64-mingw32)
set(WENDAX_ARCH_DEFINITION -D_AMD64_=1)
set(WENDAX_ARCH_WARNINGS -Wshorten-64-to-32)
# For sources that count their objects at every instruction. Optimised with the rest when they are linked, they would have
# all functions written so that their tables tell instructions apart, which is 6 KB of Wendax.dll.
set(WENDAX_FAULT_OPTIONS -fno-lto)
# What they lend the others then is their mark alone, and that a step that may fault isn't taken for one that throws nothing.
set(WENDAX_AFTER_LINK /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/../crt/x64/mark_tables.py)
set(WENDAX_DLLTOOL_MACHINE i386:x86-64)
set(WENDAX_LINK_ARCH "/machine:x64 /merge:.pdata=.rdata /mllvm:-disable-nounwind-inference") # a section less to fill up to 512 bytes
set(WENDAX_DLL_ENTRY _DllMainCRTStartup)
# Where images would like to lie, before the digits that each DLL gives: above 4 GB, so that an address cut to 32 bits is
# one that nothing lies at.
set(WENDAX_BASE 0x2)
# For what ships: what a loop computes from constants stays in it, and its addresses are formed as they are written. To
# hoist and rewrite them keeps more registers in use, whose saving and restoring is 5 KB of the four DLLs.
set(WENDAX_SMALL_LOOPS /mllvm:-disable-machine-licm /mllvm:-disable-lsr)
# For sources whose loops are faster otherwise: they are optimised on their own instead of with the rest.
set(WENDAX_FAST_LOOPS -fno-lto)
