// What clang checks about locks, and other compilers pass over. Macros, because an attribute that not every
// compiler knows can be spelt in no other way.
#pragma once

#if defined(__clang__)
#define SDKAPI_CHECKED_LOCK(attribute) __attribute__((attribute))
#else
#define SDKAPI_CHECKED_LOCK(attribute)
#endif

// Of a type: it is a lock; it holds one for the life of a scope.
#define CAPABILITY(kind) SDKAPI_CHECKED_LOCK(capability(kind))
#define SCOPED_CAPABILITY SDKAPI_CHECKED_LOCK(scoped_lockable)

// Of a variable: which lock its readers and writers hold.
#define GUARDED_BY(lock) SDKAPI_CHECKED_LOCK(guarded_by(lock))

// Of a lock: how it nests.
#define ACQUIRED_BEFORE(...) SDKAPI_CHECKED_LOCK(acquired_before(__VA_ARGS__))
#define ACQUIRED_AFTER(...) SDKAPI_CHECKED_LOCK(acquired_after(__VA_ARGS__))

// Of a function: the locks that its caller holds, may not hold, holds afterwards, and has given back.
#define REQUIRES(...) SDKAPI_CHECKED_LOCK(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) SDKAPI_CHECKED_LOCK(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) SDKAPI_CHECKED_LOCK(acquire_capability(__VA_ARGS__))
#define RELEASE(...) SDKAPI_CHECKED_LOCK(release_capability(__VA_ARGS__))
