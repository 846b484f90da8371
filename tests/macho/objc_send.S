# The message entry points of macOS over this system's lookup functions.
#
# A message send must leave every argument register as it is, %al among them, which tells a variadic
# method how many vector registers are in use. Methods that return a record in memory would need an
# entry point of their own; the bundle has none.
	.text
.macro LOOKUP fn
	pushq	%rbp
	.cfi_def_cfa_offset 16
	.cfi_offset %rbp, -16
	movq	%rsp, %rbp
	.cfi_def_cfa_register %rbp
	subq	$192, %rsp
	movq	%rax, (%rsp)
	movq	%rdi, 8(%rsp)
	movq	%rsi, 16(%rsp)
	movq	%rdx, 24(%rsp)
	movq	%rcx, 32(%rsp)
	movq	%r8, 40(%rsp)
	movq	%r9, 48(%rsp)
	movaps	%xmm0, 64(%rsp)
	movaps	%xmm1, 80(%rsp)
	movaps	%xmm2, 96(%rsp)
	movaps	%xmm3, 112(%rsp)
	movaps	%xmm4, 128(%rsp)
	movaps	%xmm5, 144(%rsp)
	movaps	%xmm6, 160(%rsp)
	movaps	%xmm7, 176(%rsp)
	\fn
	movq	%rax, %r11
	movq	(%rsp), %rax
	movq	8(%rsp), %rdi
	movq	16(%rsp), %rsi
	movq	24(%rsp), %rdx
	movq	32(%rsp), %rcx
	movq	40(%rsp), %r8
	movq	48(%rsp), %r9
	movaps	64(%rsp), %xmm0
	movaps	80(%rsp), %xmm1
	movaps	96(%rsp), %xmm2
	movaps	112(%rsp), %xmm3
	movaps	128(%rsp), %xmm4
	movaps	144(%rsp), %xmm5
	movaps	160(%rsp), %xmm6
	movaps	176(%rsp), %xmm7
	leave
	.cfi_def_cfa %rsp, 8
.endm
.macro ENTRY name
	.globl	\name
	.type	\name, @function
	.p2align 4
\name:
	.cfi_startproc
.endm
.macro FINISH name
	.cfi_endproc
	.size	\name, .-\name
.endm

# A message to nil gives 0 in every register that a result may be in.
ENTRY macho_objc_msgSend
	testq	%rdi, %rdi
	je	1f
	LOOKUP	"call objc_msg_lookup@PLT"
	jmp	*%r11
1:	xorl	%eax, %eax
	xorl	%edx, %edx
	pxor	%xmm0, %xmm0
	pxor	%xmm1, %xmm1
	ret
FINISH macho_objc_msgSend

# The first argument is a record of the receiver and the class above which the search begins.
ENTRY macho_objc_msgSendSuper2
	LOOKUP	"call macho_super_lookup@PLT"
	movq	(%rdi), %rdi
	jmp	*%r11
FINISH macho_objc_msgSendSuper2

	.section .note.GNU-stack,"",@progbits
