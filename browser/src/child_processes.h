#ifndef BROWSER_CHILD_PROCESSES_H_
#define BROWSER_CHILD_PROCESSES_H_

namespace browser {

/// Sees to it that no process of the engine outlives this program. Its processes end by themselves
/// once the browser is gone, but a little later, and one that hangs in a plug-in may not at all.
class ChildProcesses {
  public:
    /// From now on, processes whose parent has ended become children of this one.
    ChildProcesses();
    /// Waits a moment for all children to end, then kills those that are left.
    ~ChildProcesses();
    ChildProcesses(const ChildProcesses&) = delete;
    ChildProcesses& operator=(const ChildProcesses&) = delete;
};

}  // namespace browser

#endif
