#ifndef HOST_PROGRAM_MODULE_WATCH_H_
#define HOST_PROGRAM_MODULE_WATCH_H_

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

/// While it lives, a module that hangs, or that ends the program by itself, is told on standard error
/// and ends it with a failure. There is one at a time.
class ModuleWatch {
  public:
    /// @param module   path, for what is told.
    /// @param longest  that a step may take.
    ModuleWatch(std::string module, std::chrono::milliseconds longest);
    ~ModuleWatch();
    ModuleWatch(const ModuleWatch&) = delete;
    ModuleWatch& operator=(const ModuleWatch&) = delete;

    /// While it lives the module has to do something; one at a time.
    class Step {
      public:
        /// @param what  it has to do: "start". Not copied.
        Step(ModuleWatch& watch, const char* what) : m_watch(watch) { m_watch.set(what); }
        ~Step() { m_watch.set(nullptr); }
        Step(const Step&) = delete;
        Step& operator=(const Step&) = delete;

      private:
        ModuleWatch& m_watch;
    };

    /// From now on the program's failure is one of a run, and not of its start.
    void onStarted();

    /// The program is about to end: as it should, unless this object lives.
    static void onExit();

  private:
    using Clock = std::chrono::steady_clock;

    void set(const char* what);
    void run();
    [[noreturn]] void fail(const std::string& what) const;

    const std::string m_module;
    const std::chrono::milliseconds m_longest;
    int m_exitCode;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    const char* m_what = nullptr;
    Clock::time_point m_deadline;
    bool m_ending = false;
    std::thread m_thread;  // last: uses all above
};

#endif
