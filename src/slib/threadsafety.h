#pragma once

// What clang's thread-safety analysis reads: which mutex guards a field, and which a function takes, gives up
// or wants held. Other compilers see nothing. Its findings are errors where clang builds the
// tree, and in ./dev lint. Tests, fuzz targets and benches look into guarded state from the only thread there
// is, and go unchecked.

#if defined(__clang__)
#define SLIB_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define SLIB_THREAD_ANNOTATION(x)
#endif

/// On a class that is a lock.
#define SLIB_CAPABILITY(name) SLIB_THREAD_ANNOTATION(capability(name))
/// On a class that holds a lock for a scope.
#define SLIB_SCOPED_CAPABILITY SLIB_THREAD_ANNOTATION(scoped_lockable)

/// On a field: read and written with that mutex held, and no other way.
#define SLIB_GUARDED_BY(mutex) SLIB_THREAD_ANNOTATION(guarded_by(mutex))
/// On a pointer: what it points to is guarded so.
#define SLIB_POINTEE_GUARDED_BY(mutex) SLIB_THREAD_ANNOTATION(pt_guarded_by(mutex))

/// On a function: the caller holds these mutexes.
#define SLIB_REQUIRES(...) SLIB_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// On a function: it takes, or gives up, these mutexes.
#define SLIB_ACQUIRE(...) SLIB_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define SLIB_RELEASE(...) SLIB_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

/// On a function that the analysis can't follow: it takes a lock only sometimes, or knows the mutex by
/// another name. The reason is beside it.
#define SLIB_UNCHECKED_LOCKS SLIB_THREAD_ANNOTATION(no_thread_safety_analysis)
