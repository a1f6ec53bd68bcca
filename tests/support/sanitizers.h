#pragma once

// Which sanitizer a test is compiled with, under whichever compiler: 0 or 1 each. The run-time
// libraries of both own the heap and make system calls of their own.
#ifndef __has_feature
#define __has_feature(name) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
#define CORVANTHELIS_ADDRESS_SANITIZER 1
#else
#define CORVANTHELIS_ADDRESS_SANITIZER 0
#endif

#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
#define CORVANTHELIS_THREAD_SANITIZER 1
#else
#define CORVANTHELIS_THREAD_SANITIZER 0
#endif

#define CORVANTHELIS_SANITIZED (CORVANTHELIS_ADDRESS_SANITIZER || CORVANTHELIS_THREAD_SANITIZER)
