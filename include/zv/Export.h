// Marks the declarations that make up the libraries' public interface.
//
// The shared libraries are built with hidden visibility, so only what carries
// ZV_EXPORT (a class, a free function, a global constant) is part of their ABI.
// The same marking serves the library's own build and its users on ELF.
#pragma once

#if defined(__GNUC__)
#define ZV_EXPORT __attribute__((visibility("default")))
#else
#define ZV_EXPORT
#endif
