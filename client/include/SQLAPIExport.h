#pragma once

// Marks what the client layer's shared library exports.
#if defined(_WIN32) && defined(SQLAPI_BUILDING)
#define SQLAPI_EXPORT __declspec(dllexport)
#elif defined(_WIN32) && defined(_MSC_VER) && !defined(SQLAPI_STATIC)
#define SQLAPI_EXPORT __declspec(dllimport)
#elif defined(_WIN32)
#define SQLAPI_EXPORT
#else
#define SQLAPI_EXPORT __attribute__((visibility("default")))
#endif
