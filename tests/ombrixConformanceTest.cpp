// Plays the front end: opens the built libombrixopt.so with dlopen and checks
// the manifest, the table it exports and the exported names against the
// full operation list, which is written independently of the library.
#include <dlfcn.h>
#include <elf.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ombrix.h"

namespace {

// ---- The full operation list ------------------------------------------------------

struct Operation {
    std::string name, kind, family, vector, slot, reference, pointerToSlot, remoteSlot;
};

const std::map<std::string, Operation>& operationList() {
    static const std::map<std::string, Operation> list = [] {
        std::map<std::string, Operation> rows;
        std::ifstream file(OBX_OPERATIONS_TSV);
        std::string line;
        while (std::getline(file, line)) {
            if (line.empty() || line[0] == '#') continue;
            std::vector<std::string> fields;
            std::stringstream stream(line);
            for (std::string field; std::getline(stream, field, '\t');) fields.push_back(field);
            if (fields.size() != 8) continue;
            rows[fields[0]] = {fields[0], fields[1], fields[2], fields[3],
                               fields[4], fields[5], fields[6], fields[7]};
        }
        return rows;
    }();
    return list;
}

constexpr size_t kListedSlots = 421;

// Exported names that are not rows of the list.
const char* const kManagementNames[] = {
    "obxSetOperationMode", "obxSetOperationModeRemoteLib", "obxInitRemoteLib", "obxCleanUp",
    "obxGetVersion", "obxDisableFuzzingTest", "obxSelectZDSP9Mode", "uHWLowPowerMode",
    "uHWPerformanceMode", "obxAvailableHardware", "obxPlatformOptLoad", "obxPlatformOptGetFunc",
    "obxPlatformOptClose", "OMBRIXs_ASSERT", "ombrixs_assert", "ombrix_libv_log", "obxLogAssert",
    "obxGetTime", "obxMemInit", "obxMemDeInit", "obxMemAlloc", "obxMemFree", "obxHeapStatsInit",
    "obxHeapStatsMalloc", "obxHeapStatsFree", "obxHeapStats", "libLogPrint", "obxFuzzingDisable",
    "useRemoteLanex", "obxInitMemStorage", "obxDeInitMemStorage", "obxAllocateMemBlock",
    "obxInitSeq", "obxClearSeq", "obxSeqPush", "obxSeqPushMulti", "obxSeqPopMulti", "obxGetSeqElem",
    "obxStartReadSeq", "obxNextSeqElem",
};

// ---- The manifest, as names ---------------------------------------------------------

// Each entry's kind as the list spells it, whether vector modes install a
// variant, and whether any mode call writes the slot at all.
struct Entry {
    const char *name, *reference, *kind;
    bool vector, written;
};

const std::vector<Entry>& manifest() {
    static const std::vector<Entry> entries = {
#define OBX_OP(name, reference, vector) {#name, #reference, "public", true, true},
#define OBX_OP_REF(name, reference) {#name, #reference, "public", false, true},
#define OBX_OP_STATIC(name, reference) {#name, #reference, "public", false, false},
#define OBX_KERNEL(name, reference, vector) {#name, #reference, "internal", true, true},
#define OBX_KERNEL_REF(name, reference) {#name, #reference, "internal", false, true},
#define OBX_KERNEL_FIXED(name, reference) {#name, #reference, "internal", false, false},
#include "ombrixManifest.h"
    };
    return entries;
}

// ---- The library, opened as a front end would -----------------------------------------

const char kNeonCpuInfo[] =
    "Features\t: half thumb vfp edsp neon vfpv3\nCPU implementer\t: 0x51\nCPU architecture: 7\n";

// Opened once per process, after pointing the hardware probe at a NEON core.
void* library() {
    static void* handle = [] {
        char path[] = "/tmp/ombrix-cpuinfo-XXXXXX";
        const int fd = mkstemp(path);
        if (fd < 0 || write(fd, kNeonCpuInfo, sizeof kNeonCpuInfo - 1) < 0) abort();
        close(fd);
        setenv("OMBRIX_CPUINFO", path, 1);
        return dlopen(OBX_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    }();
    return handle;
}

void* symbol(const std::string& name) { return dlsym(library(), name.c_str()); }

template <typename T>
T valueAt(const std::string& name) {
    return *static_cast<T*>(symbol(name));
}

TEST(Conformance, ManifestAgreesWithTheOperationList) {
    std::set<std::string> seen;
    for (const Entry& e : manifest()) {
        SCOPED_TRACE(e.name);
        EXPECT_TRUE(seen.insert(e.name).second) << "listed twice";
        const auto row = operationList().find(e.name);
        ASSERT_NE(row, operationList().end()) << "not in the operation list";
        const Operation& op = row->second;
        EXPECT_EQ(op.kind, e.kind);
        EXPECT_EQ(op.vector == "yes", e.vector);
        EXPECT_EQ(op.slot, std::string(e.name) + "_");
        if (op.kind == "public" || e.written) {  // the list names no reference for the scratch allocators
            EXPECT_EQ(op.reference, e.reference);
        }
    }
    EXPECT_EQ(operationList().size(), kListedSlots);
}

// Every slot the library builds, as the operation list describes it: the
// slot is exported; a public one starts on the listed reference and has its
// pointer-to-slot and a null remote slot, an internal one has neither.
TEST(Conformance, EveryBuiltSlotIsReachableByName) {
    ASSERT_NE(library(), nullptr) << dlerror();
    for (const Entry& e : manifest()) {
        SCOPED_TRACE(e.name);
        const Operation& op = operationList().at(e.name);
        void* slot = symbol(op.slot);
        ASSERT_NE(slot, nullptr) << "slot not exported";
        if (op.kind == "internal") {
            EXPECT_EQ(symbol(std::string("pp") + e.name), nullptr);
            EXPECT_EQ(symbol(std::string(e.name) + "R_"), nullptr);
            continue;
        }
        ASSERT_NE(symbol(op.pointerToSlot), nullptr);
        EXPECT_EQ(valueAt<void*>(op.pointerToSlot), slot) << "pointer-to-slot must point at the slot";
        void* reference = symbol(op.reference);
        ASSERT_NE(reference, nullptr) << op.reference << " not exported";
        EXPECT_EQ(*static_cast<void**>(slot), reference) << "slot must start on " << op.reference;
        ASSERT_NE(symbol(op.remoteSlot), nullptr);
        EXPECT_EQ(valueAt<void*>(op.remoteSlot), nullptr);
    }
}

// A vector mode re-points exactly the slots the list marks as vectorised
// (the scratch allocators have no exported reference and are never
// re-pointed), never to obxBoxFilter11x11u8V2, which is exported beside the
// table; a call through each of the cheap ones below gives what its
// reference gives; the reference mode puts every slot back.
uint8_t gSrc[17 * 12], gExpected[17 * 12], gActual[17 * 12];

void* reference(const std::string& name) { return symbol(operationList().at(name).reference); }

void expectSameAsReference(const std::string& name, const std::function<void(void*, uint8_t*)>& call) {
    memset(gExpected, 1, sizeof gExpected);
    memset(gActual, 2, sizeof gActual);
    call(reference(name), gExpected);
    call(valueAt<void*>(operationList().at(name).slot), gActual);
    EXPECT_EQ(memcmp(gExpected, gActual, sizeof gActual), 0) << name;
}

TEST(Conformance, ModesRepointOnlyVectorisedSlots) {
    ASSERT_NE(library(), nullptr);
    auto setMode = reinterpret_cast<decltype(&obxSetOperationMode)>(symbol("obxSetOperationMode"));
    ASSERT_NE(setMode, nullptr);
    for (size_t i = 0; i < sizeof gSrc; ++i) gSrc[i] = static_cast<uint8_t>(i * 37 + 11);
    for (uint32_t mode : {0u, 1u, 2u, 0x80000001u, 0x80000004u, 3u, 0x80000003u}) {
        SCOPED_TRACE(mode);
        const bool vectorMode = mode <= 2 || mode == 0x80000001u || mode == 0x80000004u;
        ASSERT_EQ(setMode(static_cast<obxOperationMode>(mode)), mode == 0x80000003u ? -1 : 0);
        for (const Entry& e : manifest()) {
            const Operation& op = operationList().at(e.name);
            if (!reference(e.name)) continue;
            SCOPED_TRACE(e.name);
            const bool vector = vectorMode && op.vector == "yes";
            EXPECT_EQ(valueAt<void*>(op.slot) == reference(e.name), !vector);
            EXPECT_NE(valueAt<void*>(op.slot), nullptr);
            EXPECT_NE(valueAt<void*>(op.slot), symbol("obxBoxFilter11x11u8V2"));
            EXPECT_TRUE(op.kind != "public" || valueAt<void*>(op.remoteSlot) == nullptr);
        }
        for (const char* name : {"obxBoxFilter3x3u8", "obxBoxFilter5x5u8", "obxBoxFilter11x11u8",
                                 "obxFilterDilate3x3u8_v2", "obxFilterErode3x3u8_v2"})
            expectSameAsReference(name, [](void* f, uint8_t* dst) {
                reinterpret_cast<obxNeighbourhoodu8_fn*>(f)(gSrc, 17, 12, 17, dst, 17);
            });
        expectSameAsReference("obxFilterThresholdu8_v2", [](void* f, uint8_t* dst) {
            reinterpret_cast<obxFilterThresholdu8_v2_fn*>(f)(gSrc, 17, 12, 17, dst, 17, 128);
        });
        expectSameAsReference("obxCopy", [](void* f, uint8_t* dst) {
            reinterpret_cast<obxCopy_fn*>(f)(dst, gSrc, sizeof gSrc);
        });
    }
    ASSERT_EQ(setMode(OBX_MODE_REFERENCE), 0);
}

// ---- The exported symbols ------------------------------------------------------------------

template <typename Ehdr, typename Shdr, typename Sym>
std::vector<std::string> definedDynamicSymbols(const std::string& image) {
    std::vector<std::string> names;
    const auto* header = reinterpret_cast<const Ehdr*>(image.data());
    const auto* sections = reinterpret_cast<const Shdr*>(image.data() + header->e_shoff);
    for (unsigned i = 0; i < header->e_shnum; ++i) {
        if (sections[i].sh_type != SHT_DYNSYM) continue;
        const char* strings = image.data() + sections[sections[i].sh_link].sh_offset;
        const auto* symbols = reinterpret_cast<const Sym*>(image.data() + sections[i].sh_offset);
        for (size_t s = 1; s < sections[i].sh_size / sizeof(Sym); ++s) {
            const unsigned char binding = symbols[s].st_info >> 4;
            if (symbols[s].st_shndx == SHN_UNDEF || (binding != STB_GLOBAL && binding != STB_WEAK))
                continue;
            names.push_back(strings + symbols[s].st_name);
        }
    }
    return names;
}

std::vector<std::string> exportedNames() {
    std::ifstream file(OBX_LIBRARY_PATH, std::ios::binary);
    const std::string image((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (image.size() < EI_NIDENT || memcmp(image.data(), ELFMAG, SELFMAG) != 0) return {};
    if (image[EI_CLASS] == ELFCLASS64) return definedDynamicSymbols<Elf64_Ehdr, Elf64_Shdr, Elf64_Sym>(image);
    return definedDynamicSymbols<Elf32_Ehdr, Elf32_Shdr, Elf32_Sym>(image);
}

TEST(Conformance, NoExportOutsideTheList) {
    std::set<std::string> allowed(std::begin(kManagementNames), std::end(kManagementNames));
    allowed.insert("obxBoxFilter11x11u8V2");  // exported beside the table
    allowed.insert("obxGeomHomographyFitDPf32C");  // the homography fit's fallback, no slot
    for (const auto& [name, op] : operationList())
        for (const std::string& n : {op.slot, op.reference, op.pointerToSlot, op.remoteSlot})
            if (!n.empty() && n != "-" && n[0] != '(') allowed.insert(n);

    const std::vector<std::string> exported = exportedNames();
    ASSERT_FALSE(exported.empty()) << "no dynamic symbols read from " << OBX_LIBRARY_PATH;
    // AddressSanitizer adds an ODR indicator beside every exported variable.
    const std::string odrIndicator = "__odr_asan.";
    for (const std::string& name : exported) {
        const bool indicator = name.rfind(odrIndicator, 0) == 0;
        EXPECT_TRUE(allowed.count(indicator ? name.substr(odrIndicator.size()) : name))
            << "unexpected export " << name;
    }

    const std::set<std::string> present(exported.begin(), exported.end());
    for (const char* name : kManagementNames) EXPECT_TRUE(present.count(name)) << "missing export " << name;
    printf("exported symbols: %zu\n", exported.size());
}

}  // namespace
