// The function-pointer table: slots, pointers-to-slot and remote slots, all
// expanded from the manifest, and the three bulk writes that mode calls make.
#include "ombrixKernels.h"
#include "ombrixRuntime.h"

extern "C" {

#define OBX_PUBLIC_SLOT(name, reference)          \
    name##_fn* name##_ = reference;               \
    name##_fn** const pp##name = &name##_;        \
    name##_fn* name##R_ = nullptr;
#define OBX_OP(name, reference, vector) OBX_PUBLIC_SLOT(name, reference)
#define OBX_OP_REF(name, reference) OBX_PUBLIC_SLOT(name, reference)
#define OBX_OP_STATIC(name, reference) OBX_PUBLIC_SLOT(name, reference)
#define OBX_KERNEL(name, reference, vector) name##_fn* name##_ = reference;
#define OBX_KERNEL_REF(name, reference) name##_fn* name##_ = reference;
#define OBX_KERNEL_FIXED(name, reference) name##_fn* name##_ = reference;
#include "ombrixManifest.h"
#undef OBX_PUBLIC_SLOT

}  // extern "C"

void obxTableClearRemoteSlots() {
#define OBX_OP(name, reference, vector) name##R_ = nullptr;
#define OBX_OP_REF(name, reference) name##R_ = nullptr;
#define OBX_OP_STATIC(name, reference) name##R_ = nullptr;
#include "ombrixManifest.h"
}

// Static slots (OBX_OP_STATIC, OBX_KERNEL_FIXED) keep their initial value.
void obxTableResetToReferences() {
#define OBX_OP(name, reference, vector) name##_ = reference;
#define OBX_OP_REF(name, reference) name##_ = reference;
#define OBX_KERNEL(name, reference, vector) name##_ = reference;
#define OBX_KERNEL_REF(name, reference) name##_ = reference;
#include "ombrixManifest.h"
}

void obxTableInstallVectorVariants() {
    obxTableClearRemoteSlots();
#define OBX_OP(name, reference, vector) name##_ = vector;
#define OBX_KERNEL(name, reference, vector) name##_ = vector;
#include "ombrixManifest.h"
}
