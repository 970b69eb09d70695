// The compiler calls this before it takes more than a page of stack: eax holds the size. Each page is touched in turn,
// so that the guard page moves; then the stack pointer goes down and every register but eax is as it was.

extern "C" __attribute__((naked)) void stack_probe() __asm__("__chkstk");

extern "C" __attribute__((naked)) void stack_probe() {
    __asm__("push %ecx\n"
            "lea 8(%esp), %ecx\n"
            "1:\n"
            "cmp $0x1000, %eax\n"
            "jb 2f\n"
            "sub $0x1000, %ecx\n"
            "test %eax, (%ecx)\n"
            "sub $0x1000, %eax\n"
            "jmp 1b\n"
            "2:\n"
            "sub %eax, %ecx\n"
            "test %eax, (%ecx)\n"
            "mov %esp, %eax\n"
            "mov %ecx, %esp\n"
            "mov (%eax), %ecx\n"
            "push 4(%eax)\n"
            "ret\n");
}
