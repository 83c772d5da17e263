// Restart point save and jump for x86-64, Microsoft calling convention on
// both targets (the host declares the routines ms_abi). The buffer holds the
// registers that convention preserves across a call, in JumpBuffer order:
//   0 rbx  8 rsp  16 rbp  24 rdi  32 rsi  40 r12  48 r13  56 r14  64 r15
//   72 rip  80..239 xmm6-xmm15  240 mxcsr

        .text

// UINTN Quorvex_SetJump(JumpBuffer* Buffer /* rcx */)
        .globl  Quorvex_SetJump
#ifdef __ELF__
        .type   Quorvex_SetJump, @function
#endif
        .p2align 4
Quorvex_SetJump:
        movq    %rbx, 0(%rcx)
        leaq    8(%rsp), %rax           // the caller's rsp once we have returned
        movq    %rax, 8(%rcx)
        movq    %rbp, 16(%rcx)
        movq    %rdi, 24(%rcx)
        movq    %rsi, 32(%rcx)
        movq    %r12, 40(%rcx)
        movq    %r13, 48(%rcx)
        movq    %r14, 56(%rcx)
        movq    %r15, 64(%rcx)
        movq    (%rsp), %rax            // return address
        movq    %rax, 72(%rcx)
        movdqu  %xmm6, 80(%rcx)
        movdqu  %xmm7, 96(%rcx)
        movdqu  %xmm8, 112(%rcx)
        movdqu  %xmm9, 128(%rcx)
        movdqu  %xmm10, 144(%rcx)
        movdqu  %xmm11, 160(%rcx)
        movdqu  %xmm12, 176(%rcx)
        movdqu  %xmm13, 192(%rcx)
        movdqu  %xmm14, 208(%rcx)
        movdqu  %xmm15, 224(%rcx)
        movq    $0, 240(%rcx)
        stmxcsr 240(%rcx)
        xorl    %eax, %eax
        ret
#ifdef __ELF__
        .size   Quorvex_SetJump, . - Quorvex_SetJump
#endif

// void Quorvex_InternalLongJump(JumpBuffer* Buffer /* rcx */, UINTN Value /* rdx */)
// Returns Value from the matching Quorvex_SetJump (1 when Value is 0).
        .globl  Quorvex_InternalLongJump
#ifdef __ELF__
        .type   Quorvex_InternalLongJump, @function
#endif
        .p2align 4
Quorvex_InternalLongJump:
        movq    %rdx, %rax
        testq   %rax, %rax
        jnz     1f
        incq    %rax
1:
        ldmxcsr 240(%rcx)
        movdqu  80(%rcx), %xmm6
        movdqu  96(%rcx), %xmm7
        movdqu  112(%rcx), %xmm8
        movdqu  128(%rcx), %xmm9
        movdqu  144(%rcx), %xmm10
        movdqu  160(%rcx), %xmm11
        movdqu  176(%rcx), %xmm12
        movdqu  192(%rcx), %xmm13
        movdqu  208(%rcx), %xmm14
        movdqu  224(%rcx), %xmm15
        movq    0(%rcx), %rbx
        movq    16(%rcx), %rbp
        movq    24(%rcx), %rdi
        movq    32(%rcx), %rsi
        movq    40(%rcx), %r12
        movq    48(%rcx), %r13
        movq    56(%rcx), %r14
        movq    64(%rcx), %r15
        movq    8(%rcx), %rsp
        jmpq    *72(%rcx)
#ifdef __ELF__
        .size   Quorvex_InternalLongJump, . - Quorvex_InternalLongJump
        .section .note.GNU-stack, "", @progbits
#endif
