#pragma once

// Every public header of OstranaAudioEffects includes this first: they use C++20 (std::span,
// concepts, designated initialisers), and an older language mode should say so at once rather
// than fail deep inside one of them.
#if !defined(__cplusplus) || __cplusplus < 202002L
#error "OstranaAudioEffects needs C++20: compile with -std=c++20 (or -std=gnu++20) or later"
#endif
