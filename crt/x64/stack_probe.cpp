// The compiler calls this before it takes more than a page of stack: rax holds the size. Each page is touched in turn,
// so that the guard page moves; the caller then moves the stack pointer itself, and finds every register as it was. The
// last page may be missing, so there is unwind data for what is pushed.

__asm__(".text\n"
        ".globl __chkstk\n"
        ".def __chkstk; .scl 2; .type 32; .endef\n"
        ".seh_proc __chkstk\n"
        "__chkstk:\n"
        "push %rcx\n"
        ".seh_pushreg %rcx\n"
        "push %rax\n"
        ".seh_pushreg %rax\n"
        ".seh_endprologue\n"
        "lea 24(%rsp), %rcx\n"
        "1:\n"
        "cmp $0x1000, %rax\n"
        "jb 2f\n"
        "sub $0x1000, %rcx\n"
        "test %eax, (%rcx)\n"
        "sub $0x1000, %rax\n"
        "jmp 1b\n"
        "2:\n"
        "sub %rax, %rcx\n"
        "test %eax, (%rcx)\n"
        "pop %rax\n"
        "pop %rcx\n"
        "ret\n"
        ".seh_endproc\n");
