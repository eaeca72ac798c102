// SPDX-License-Identifier: MIT
#include "dfdctl/board/installed.hpp"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <cstring>
#include <memory>
#include <string_view>

#include "build_id.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr const char *kName = "libdfd.so.0";
constexpr std::size_t kAlign = 4;

std::size_t aligned(std::size_t size) {
    return (size + kAlign - 1) / kAlign * kAlign;
}

/// The build's number among the notes, in hexadecimal.
std::string build_id_of(const char *notes, std::size_t size) {
    for (std::size_t at = 0; at + sizeof(ElfW(Nhdr)) <= size;) {
        ElfW(Nhdr) note = {};
        std::memcpy(&note, notes + at, sizeof note);
        const std::size_t name = at + sizeof note;
        const std::size_t data = name + aligned(note.n_namesz);
        if (data + note.n_descsz > size) {
            break;
        }
        const bool is_gnu = note.n_namesz == sizeof ELF_NOTE_GNU &&
                            std::memcmp(notes + name, ELF_NOTE_GNU, sizeof ELF_NOTE_GNU) == 0;
        if (is_gnu && note.n_type == NT_GNU_BUILD_ID) {
            std::string id;
            for (std::size_t i = 0; i < note.n_descsz; ++i) {
                id += fmt::format("{:02x}", static_cast<unsigned char>(notes[data + i]));
            }
            return id;
        }
        at = data + aligned(note.n_descsz);
    }
    return {};
}

struct Search {
    ElfW(Addr) base;
    std::string id;
};

int look_at(dl_phdr_info *object, std::size_t /*size*/, void *context) {
    auto &search = *static_cast<Search *>(context);
    if (object->dlpi_addr != search.base) {
        return 0;
    }
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const ElfW(Phdr) &part = object->dlpi_phdr[i];
        if (part.p_type == PT_NOTE && search.id.empty()) {
            const auto *notes = reinterpret_cast<const char *>(search.base + part.p_vaddr);
            search.id = build_id_of(notes, part.p_memsz);
        }
    }
    return 1;
}

}  // namespace

std::string other_installed_library() {
    const std::string_view own = kLibraryBuildId;
    // As the dynamic linker finds it for a program. Its names stay out of this program's.
    void *library = own.empty() ? nullptr : dlopen(kName, RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) {
        return {};
    }
    link_map *map = nullptr;
    std::string path = kName;
    Search search{};
    if (dlinfo(library, RTLD_DI_LINKMAP, &map) == 0 && map != nullptr) {
        path = map->l_name;
        search.base = map->l_addr;
        dl_iterate_phdr(look_at, &search);
    }
    dlclose(library);
    return search.id == own ? std::string() : path;
}

}  // namespace dfdctl
