# Linked into shared libraries alone: names of the C library that were versioned anew since 2.28, bound to their oldest
# versions, which behave alike for us. The files then load on systems as old as that.

    .macro old name
    .symver old_\name, \name@GLIBC_2.2.5
    .globl \name
    .hidden \name
    .type \name, @function
\name:
    jmp old_\name@PLT
    .endm

# Without the errors of the older interface, which nobody here asks for.
    old exp
    old log
    old pow

# In the C library itself as of 2.34.
    old dladdr
    old dlclose
    old dlerror
    old dlopen
    old dlsym
    old __pthread_key_create
    old pthread_create
    old pthread_detach
    old pthread_getspecific
    old pthread_join
    old pthread_key_create
    old pthread_key_delete
    old pthread_once
    old pthread_rwlock_rdlock
    old pthread_rwlock_unlock
    old pthread_rwlock_wrlock
    old pthread_setspecific

# Functions of their own as of 2.33; before, calls of these with the number of the structure's form in front.
    .macro old_status name, was
    .symver old_\was, \was@GLIBC_2.2.5
    .globl \name
    .hidden \name
    .type \name, @function
\name:
    mov %rsi, %rdx
    mov %rdi, %rsi
    mov $1, %edi
    jmp old_\was@PLT
    .endm

    old_status stat, __xstat
    old_status lstat, __lxstat
    old_status fstat64, __fxstat64

    .section .note.GNU-stack, "", @progbits
