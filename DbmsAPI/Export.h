#pragma once

// Marks what the library exports; everything else stays hidden.
#if defined(_WIN32) && defined(DBMSAPI_BUILDING)
#define DBMSAPI_EXPORT __declspec(dllexport)
#elif defined(_WIN32) && defined(_MSC_VER)
#define DBMSAPI_EXPORT __declspec(dllimport)
#elif defined(_WIN32)
#define DBMSAPI_EXPORT
#else
#define DBMSAPI_EXPORT __attribute__((visibility("default")))
#endif
