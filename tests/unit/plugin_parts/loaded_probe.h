#ifndef PLUGIN_PARTS_LOADED_PROBE_H_
#define PLUGIN_PARTS_LOADED_PROBE_H_

#include "host/plugin_host.h"

/// A probe module in a host, loaded afresh: what it remembers for its process starts anew.
class LoadedModule {
  public:
    /// @param library  file name of the module in the build tree.
    /// @param extension  the vendor table that the host offers; null for none.
    LoadedModule(const std::string& library, const char* exported, const void* extension,
                 host::PluginHost::Options options);
    ~LoadedModule();
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;

    host::PluginHost& host() { return m_host; }
    const void* exported() const { return m_exported; }

  private:
    host::PluginHost m_host;
    void* m_library;
    const void* m_exported;
};

#endif
