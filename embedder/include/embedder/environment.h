#ifndef EMBEDDER_ENVIRONMENT_H_
#define EMBEDDER_ENVIRONMENT_H_

#include <filesystem>
#include <memory>
#include <string>

#include "embedder/options.h"

namespace embedder {

/// The folder that holds this program.
std::filesystem::path programFolder();

/// The way to the account service, for as long as it is held; nothing without a state.
class ServiceHold {
  public:
    ServiceHold();
    ~ServiceHold();
    ServiceHold(ServiceHold&& other) noexcept;
    ServiceHold& operator=(ServiceHold&& other) noexcept;

    /// Finds the service of the options' state, or starts it.
    ///
    /// @throws std::runtime_error  when there is none.
    static ServiceHold get(const Options& options);

    /// Starts what carries it again when that has gone. Nothing without a state.
    ///
    /// @throws std::runtime_error  when that fails.
    void renew();

    /// The address of the bus on which it is; empty without a state.
    const std::string& address() const;

  private:
    struct Held;
    std::unique_ptr<Held> m_held;
    std::string m_address;
};

/// Sets the variables by which the plug-in's suppliers are told what to do: the log's level, and the
/// account file or the account service. Call before the module is loaded, while there is one thread.
void prepareEnvironment(const Options& options, const ServiceHold& service);

}  // namespace embedder

#endif
