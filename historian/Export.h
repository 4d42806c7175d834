#pragma once

// Marks what the library exports; everything else stays hidden.
#if defined(_WIN32) && defined(HISTORIAN_BUILDING)
#define HISTORIAN_EXPORT __declspec(dllexport)
#elif defined(_WIN32) && defined(_MSC_VER)
#define HISTORIAN_EXPORT __declspec(dllimport)
#elif defined(_WIN32)
#define HISTORIAN_EXPORT
#else
#define HISTORIAN_EXPORT __attribute__((visibility("default")))
#endif
