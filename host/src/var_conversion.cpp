#include "host/var_conversion.h"

#include <cstring>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/var_table.h"

namespace host {
namespace {

// A container on the way from var to value; its content collects here.
struct Collecting {
    std::int64_t id;
    const VarContents* contents;
    std::size_t nextElement = 0;
    std::map<std::string, PP_Var>::const_iterator nextMember = {};
    Value::Array elements = {};
    Value::Dictionary members = {};

    bool isArray() const { return contents->type == PP_VARTYPE_ARRAY; }
    bool isComplete() const {
        return isArray() ? nextElement == contents->elements.size()
                         : nextMember == contents->members.end();
    }
    PP_Var next() const { return isArray() ? contents->elements[nextElement] : nextMember->second; }
    void store(Value value) {
        if (isArray()) {
            elements.push_back(std::move(value));
            ++nextElement;
        } else {
            members.insert_or_assign(nextMember->first, std::move(value));
            ++nextMember;
        }
    }
    Value finished() { return isArray() ? Value(std::move(elements)) : Value(std::move(members)); }
};

// A container on the way from value to var.
struct Filling {
    const Value* value;
    PP_Var var;
    std::uint32_t nextElement = 0;
    Value::Dictionary::const_iterator nextMember = {};
};

Value immediateValue(PP_Var var) {
    switch (var.type) {
        case PP_VARTYPE_NULL:
            return Value::Null{};
        case PP_VARTYPE_BOOL:
            return var.value.as_bool != PP_FALSE;
        case PP_VARTYPE_INT32:
            return var.value.as_int;
        case PP_VARTYPE_DOUBLE:
            return var.value.as_double;
        default:
            return Value::Undefined{};
    }
}

Value bufferValue(const VarContents& contents) {
    const std::uint8_t* bytes = contents.bytes.get();
    return contents.size == 0 ? Value::Buffer{} : Value::Buffer(bytes, bytes + contents.size);
}

PP_Var leafVar(const char* call, const Value& value) {
    VarTable& vars = VarTable::instance();
    switch (value.type()) {
        case Value::Type::Null:
            return PP_MakeNull();
        case Value::Type::Bool:
            return PP_MakeBool(value.asBool() ? PP_TRUE : PP_FALSE);
        case Value::Type::Int32:
            return PP_MakeInt32(value.asInt32());
        case Value::Type::Double:
            return PP_MakeDouble(value.asDouble());
        case Value::Type::String:
            return vars.makeString(Holder::Host, call, value.asString());
        case Value::Type::Buffer: {
            const Value::Buffer& bytes = value.asBuffer();
            const PP_Var var =
                vars.makeBuffer(Holder::Host, call, static_cast<std::uint32_t>(bytes.size()));
            if (var.type == PP_VARTYPE_ARRAY_BUFFER && !bytes.empty()) {
                std::memcpy(vars.bytes(call, var), bytes.data(), bytes.size());
            }
            return var;
        }
        default:
            return PP_MakeUndefined();
    }
}

const void* identity(const Value& container) {
    if (container.isArray()) return &container.asArray();
    return &container.asDictionary();
}

}  // namespace

Conversion toValue(const char* call, PP_Var root) {
    VarTable::Reader reader(VarTable::instance());
    std::vector<Collecting> stack;
    // Containers met so far. One without a value is still open: meeting it again is a cycle.
    std::unordered_map<std::int64_t, std::optional<Value>> met;

    PP_Var var = root;
    for (;;) {
        std::optional<Value> value;
        if (var.type < PP_VARTYPE_STRING) {
            value = immediateValue(var);
        } else if (const auto known = met.find(var.value.as_id); known != met.end()) {
            if (!known->second) return {std::nullopt, "it contains a cycle"};
            value = known->second;
        } else {
            const VarContents* contents = reader.find(call, var);
            if (contents == nullptr) return {std::nullopt, "it contains a dead var"};
            switch (contents->type) {
                case PP_VARTYPE_STRING:
                    value = contents->text;
                    break;
                case PP_VARTYPE_ARRAY_BUFFER:
                    value = bufferValue(*contents);
                    break;
                case PP_VARTYPE_ARRAY:
                case PP_VARTYPE_DICTIONARY:
                    met.emplace(var.value.as_id, std::nullopt);
                    stack.push_back(
                        {var.value.as_id, contents, 0, contents->members.begin(), {}, {}});
                    break;
                default:
                    return {std::nullopt, "it contains a resource"};
            }
        }

        if (value && stack.empty()) return {std::move(value), ""};
        if (value) stack.back().store(std::move(*value));
        while (stack.back().isComplete()) {
            Value done = stack.back().finished();
            met[stack.back().id] = done;
            stack.pop_back();
            if (stack.empty()) return {std::move(done), ""};
            stack.back().store(std::move(done));
        }
        var = stack.back().next();
    }
}

PP_Var toVar(const char* call, const Value& root) {
    VarTable& vars = VarTable::instance();
    std::vector<Filling> stack;
    std::unordered_map<const void*, PP_Var> made;

    // Makes the var of one value; a container is filled later.
    const auto make = [&](const Value& value) {
        if (!value.isArray() && !value.isDictionary()) return leafVar(call, value);
        const auto known = made.find(identity(value));
        if (known != made.end()) {
            vars.addRef(Holder::Host, call, known->second);
            return known->second;
        }
        Filling filling{&value, PP_MakeUndefined()};
        if (value.isArray()) {
            filling.var = vars.makeArray(Holder::Host, call);
        } else {
            filling.var = vars.makeDictionary(Holder::Host, call);
            filling.nextMember = value.asDictionary().begin();
        }
        made.emplace(identity(value), filling.var);
        stack.push_back(filling);
        return filling.var;
    };

    const PP_Var result = make(root);
    while (!stack.empty()) {
        Filling& top = stack.back();
        const PP_Var container = top.var;
        if (top.value->isArray()) {
            const Value::Array& elements = top.value->asArray();
            if (top.nextElement == elements.size()) {
                stack.pop_back();
                continue;
            }
            const std::uint32_t index = top.nextElement++;
            const PP_Var child = make(elements[index]);
            vars.setElement(call, container, index, child);
            vars.release(Holder::Host, call, child);
        } else {
            if (top.nextMember == top.value->asDictionary().end()) {
                stack.pop_back();
                continue;
            }
            const auto member = top.nextMember++;
            const PP_Var child = make(member->second);
            vars.setMember(call, container, member->first, child);
            vars.release(Holder::Host, call, child);
        }
    }
    return result;
}

}  // namespace host
