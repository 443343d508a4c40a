#pragma once

// What is static or plain in the classes of this folder is exported by the recorder library and
// bound late by us. The virtual operations are reached through the objects' own tables.

#if defined(QUILLON_BUILDING_LIBRARY) && defined(_WIN32)
#define QUILLON_API __declspec(dllexport)
#elif defined(QUILLON_BUILDING_LIBRARY)
#define QUILLON_API __attribute__((visibility("default")))
#else
#define QUILLON_API
#endif
