#pragma once

#include <map>
#include <pthread.h>
#include <sstream>
#include <string>
#include <sys/types.h>

#include <boost/thread/recursive_mutex.hpp>
#include <boost/thread/thread.hpp>

/// What is known of a registered thread.
struct threadsInfo_t
{
    std::string name;      ///< as given at registration, uncut
    pid_t lwp = 0;         ///< kernel thread id
    pthread_t pthread = 0; ///< native handle
};

/**
 * Names of the long-lived threads, for lock reports and operators. The process has one object, built on first
 * use and never destroyed, because threads leave it late. Lock order: after the global lock and the report
 * mutex, before Log::lock.
 */
class ThreadRegistry
{
public:
    ThreadRegistry() = default;

    /// The one of the process.
    static ThreadRegistry& instance();

    /**
     * Names the calling thread, here and in the kernel (15 characters there); to be called first thing on a
     * long-lived thread. Its record goes when the thread ends, also when pthread_create made it. Also gives
     * the thread a signal stack of its own, so that the crash reporter can speak of a stack overflow.
     */
    void registerThread(const std::string& name);

    /// Removes the calling thread's record; nothing happens without one.
    void unregisterThread();

    /// Writes the table of threads.
    void showThreads(std::ostringstream* out);

    /**
     * The record of a thread. An unknown id gets an empty record that stays and shows in showThreads():
     * operators rely on seeing that such a thread took part in a report. Hold mutex() over the use of the
     * reference.
     */
    threadsInfo_t& lookUp(const boost::thread::id& id);

    /// Guards all records; recursive, because reports hold it over several look-ups.
    boost::recursive_mutex& mutex() { return threadsMutex; }

private:
    boost::recursive_mutex threadsMutex;
    std::map<boost::thread::id, threadsInfo_t> threads; // under threadsMutex
};
