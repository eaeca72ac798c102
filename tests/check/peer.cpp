// SPDX-License-Identifier: MIT
#include "check/peer.h"

#include <dlfcn.h>
#include <freeipmi/freeipmi.h>

#include <stdexcept>

namespace dfd_check {

using dfd_fuzz::Bytes;
using dfd_fuzz::FruField;
using dfd_fuzz::kFruFixedFields;

// Not linked, for the function of the same name.
struct Peer::Library {
    Library() : handle(dlopen("libfreeipmi.so.17", RTLD_NOW | RTLD_LOCAL)) {
        if (handle == nullptr) {
            throw std::runtime_error(dlerror());
        }
        find(open, "ipmi_fru_open_device_id_with_buffer");
        find(close, "ipmi_fru_close_device_id");
        find(next, "ipmi_fru_next");
        find(read, "ipmi_fru_read_data_area");
        find(parse, "ipmi_fru_product_info_area");
        find(to_text, "ipmi_fru_type_length_field_to_string");
        find(destroy, "ipmi_fru_ctx_destroy");
        decltype(::ipmi_fru_ctx_create) *create = nullptr;
        find(create, "ipmi_fru_ctx_create");
        context = create(nullptr);
    }
    ~Library() {
        destroy(context);
        dlclose(handle);
    }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    template <typename Function>
    void find(Function *&function, const char *name) {
        function = reinterpret_cast<Function *>(dlsym(handle, name));
        if (function == nullptr) {
            throw std::runtime_error(std::string("libfreeipmi has no ") + name);
        }
    }

    bool read_product(std::vector<FruField> *fields, std::uint8_t *language) {
        do {
            unsigned type = 0;
            unsigned length = 0;
            std::uint8_t area[2048];
            if (read(context, &type, &length, area, sizeof area) < 0) {
                return false;
            }
            if (type == IPMI_FRU_AREA_TYPE_PRODUCT_INFO_AREA) {
                return parse_product(area, length, fields, language);
            }
        } while (next(context) == 1);
        return false;
    }

    bool parse_product(const std::uint8_t *area, unsigned length, std::vector<FruField> *fields,
                       std::uint8_t *language) {
        for (ipmi_fru_field_t &field : stored) {
            field.type_length_field_length = 0;
        }
        const int result =
            parse(context, area, length, language, &stored[0], &stored[1], &stored[2], &stored[3],
                  &stored[4], &stored[5], &stored[6], &stored[kFruFixedFields], kMaxCustom);
        for (const ipmi_fru_field_t &field : stored) {
            if (field.type_length_field_length == 0) {
                break;
            }
            const std::uint8_t *bytes = field.type_length_field;
            fields->push_back({static_cast<std::uint8_t>(bytes[0] >> 6),
                               Bytes(bytes + 1, bytes + field.type_length_field_length)});
        }
        return result == 0;
    }

    void *handle;
    decltype(::ipmi_fru_open_device_id_with_buffer) *open = nullptr;
    decltype(::ipmi_fru_close_device_id) *close = nullptr;
    decltype(::ipmi_fru_next) *next = nullptr;
    decltype(::ipmi_fru_read_data_area) *read = nullptr;
    decltype(::ipmi_fru_product_info_area) *parse = nullptr;
    decltype(::ipmi_fru_type_length_field_to_string) *to_text = nullptr;
    decltype(::ipmi_fru_ctx_destroy) *destroy = nullptr;
    ipmi_fru_ctx_t context = nullptr;
    ipmi_fru_field_t stored[kFruFixedFields + kMaxCustom] = {};
};

Peer::Peer() : library_(std::make_unique<Library>()) {}

Peer::~Peer() = default;

bool Peer::read(const dfd_fuzz::MemoryBytes &image, std::vector<FruField> *fields,
                std::uint8_t *language) {
    const auto size = static_cast<unsigned>(image.size());
    if (library_->open(library_->context, image.data(), size) < 0) {
        return false;
    }
    const bool is_read = library_->read_product(fields, language);
    library_->close(library_->context);
    return is_read;
}

std::optional<std::string> Peer::text_of(const FruField &field, std::uint8_t language) {
    Bytes bytes = {static_cast<std::uint8_t>(field.code << 6 | field.data.size())};
    bytes.insert(bytes.end(), field.data.begin(), field.data.end());
    char text[IPMI_FRU_AREA_STRING_MAX + 1] = "";
    unsigned length = IPMI_FRU_AREA_STRING_MAX;
    if (library_->to_text(library_->context, bytes.data(), static_cast<unsigned>(bytes.size()),
                          language, text, &length) < 0) {
        return std::nullopt;
    }
    return std::string(text, length);
}

}  // namespace dfd_check
