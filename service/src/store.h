#ifndef SERVICE_STORE_H_
#define SERVICE_STORE_H_

#include <sqlite3.h>

#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "account/account.h"

namespace service {

/// A store that cannot be used, or cannot keep something. what() is for a person and quotes nothing that was to be kept.
class StoreError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What is kept of a state, in a database file. A change is on the disk when its function returns. Several
/// processes may have the same file open. One thread at a time.
class Store : public account::Recorder {
  public:
    /// Opens the file, or makes it for the user alone; an older one is brought up to date.
    ///
    /// @throws StoreError  when it cannot be used: no database, damaged, of a newer version, or no right to it.
    explicit Store(const std::filesystem::path& file);

    /// All but the behaviour.
    account::Description load();
    /// Everything but the behaviour, and these further values, at once, or nothing.
    void replace(const account::Description& description,
                 const std::map<std::string, std::string>& values);

    /// Further values, such as the clock. @return "" for one that was never set.
    std::string value(const std::string& name);
    void setValue(const std::string& name, const std::string& value);

    /// Changes when anybody changed the file, this store included.
    std::int64_t changes();

    void session(const std::string* loginId) override;
    void agreement(const std::string& loginId, const std::string& termsId,
                   const std::string& version) override;
    void token(const std::string& loginId, const std::string& clientId,
               const account::Token& token) override;
    void mappingAdded(const std::string& loginId, const account::Mapping& mapping) override;
    void mappingRemoved(const std::string& loginId, const account::Mapping& mapping) override;

  private:
    struct Close {
        void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
    };
    std::unique_ptr<sqlite3, Close> m_database;
};

}  // namespace service

#endif
