#pragma once

/// Which lock a member or a function needs, in a form that clang checks (-Wthread-safety); other compilers
/// pass over it. The locks that carry these annotations are `Mutex` and `FairSharedMutex`.
#if defined(__clang__)
#define TESSARY_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define TESSARY_THREAD_ANNOTATION(x)
#endif

/// A type that is a lock.
#define TESSARY_CAPABILITY(name) TESSARY_THREAD_ANNOTATION(capability(name))
/// A type that holds a lock from its construction to its destruction.
#define TESSARY_SCOPED_CAPABILITY TESSARY_THREAD_ANNOTATION(scoped_lockable)
/// A member that is read and written only under this lock.
#define TESSARY_GUARDED_BY(lock) TESSARY_THREAD_ANNOTATION(guarded_by(lock))
/// A pointer or handle whose target is read and written only under this lock.
#define TESSARY_PT_GUARDED_BY(lock) TESSARY_THREAD_ANNOTATION(pt_guarded_by(lock))
/// A function that its caller calls with the lock held, alone or shared with other readers.
#define TESSARY_REQUIRES(...) TESSARY_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define TESSARY_REQUIRES_SHARED(...) TESSARY_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
/// A function that must not be called with the lock held.
#define TESSARY_EXCLUDES(...) TESSARY_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
/// What takes and gives back a lock.
#define TESSARY_ACQUIRE(...) TESSARY_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define TESSARY_ACQUIRE_SHARED(...) TESSARY_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define TESSARY_RELEASE(...) TESSARY_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define TESSARY_RELEASE_SHARED(...) TESSARY_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
#define TESSARY_RELEASE_GENERIC(...) TESSARY_THREAD_ANNOTATION(release_generic_capability(__VA_ARGS__))
/// A function that tells the analysis that a lock is held where it cannot see that itself.
#define TESSARY_ASSERT_SHARED_CAPABILITY(...) TESSARY_THREAD_ANNOTATION(assert_shared_capability(__VA_ARGS__))
#define TESSARY_ASSERT_CAPABILITY(...) TESSARY_THREAD_ANNOTATION(assert_capability(__VA_ARGS__))
/// A function whose locking the analysis cannot follow; a comment there says why it is right.
#define TESSARY_NO_THREAD_SAFETY_ANALYSIS TESSARY_THREAD_ANNOTATION(no_thread_safety_analysis)
