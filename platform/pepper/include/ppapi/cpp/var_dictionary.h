#ifndef PPAPI_CPP_VAR_DICTIONARY_H_
#define PPAPI_CPP_VAR_DICTIONARY_H_

#include "ppapi/cpp/var.h"

namespace pp {

/// A dictionary with string keys. Copies share the container.
class VarDictionary : public Var {
  public:
    /// A new, empty dictionary; null without dictionaries in the browser.
    VarDictionary();
    /// Shares the dictionary; a var of another type is a caller's mistake, and gives null.
    explicit VarDictionary(const Var& var);
    VarDictionary(const VarDictionary& other) = default;
    VarDictionary& operator=(const VarDictionary& other) = default;
    /// As the constructor from a var.
    Var& operator=(const Var& other) override;

    /// Undefined when the key is missing or no string.
    Var Get(const Var& key) const;
    /// False when the key is no string, or this no live dictionary; then nothing changes.
    bool Set(const Var& key, const Var& value);
    bool HasKey(const Var& key) const;
};

}  // namespace pp

#endif
