#include "host/var_table.h"
#include "tables.h"

namespace host {
namespace {

PP_Var create(uint32_t size) {
    return VarTable::instance().makeBuffer(Holder::Module, "PPB_VarArrayBuffer.Create", size);
}

PP_Bool byteLength(PP_Var buffer, uint32_t* length) {
    return PP_FromBool(
        VarTable::instance().byteLength("PPB_VarArrayBuffer.ByteLength", buffer, length));
}

void* map(PP_Var buffer) { return VarTable::instance().bytes("PPB_VarArrayBuffer.Map", buffer); }

// The bytes stay where they are while the var lives.
void unmap(PP_Var) {}

}  // namespace

const PPB_VarArrayBuffer_1_0 kVarArrayBuffer10 = {create, byteLength, map, unmap};

}  // namespace host
