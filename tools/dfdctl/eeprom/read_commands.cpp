// SPDX-License-Identifier: MIT
// dfdctl eeprom decode, verify, encode, diff: nothing is written but files.
#include <filesystem>
#include <memory>

#include "common/replace_file.hpp"
#include "dfdctl/eeprom/backup.hpp"
#include "dfdctl/eeprom/commands.hpp"
#include "dfdctl/eeprom/update.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

using eeprom::Decoded;
constexpr std::size_t kOffsetColumns = 6;
constexpr std::size_t kIndent = 2;

struct ReadRequest {
    std::vector<std::string> words;
    PlaceOptions place;
    std::string backup;
    std::string output;
    bool lenient = false;
};

Json place_json(const ImagePlace &place) {
    return {{"name", place.name},
            {"device", text_or_null(place.device)},
            {"address", place.is_file ? Json() : Json(place.address)}};
}

/// "fan 2 (/dev/i2c-1 0x51): TLV image, 256 bytes".
std::string title(const ImagePlace &place, const Decoded &decoded, std::size_t size) {
    const std::string what =
        decoded.is_blank ? "blank" : fmt::format("layout {}", layout_name(decoded.layout));
    return fmt::format("{}: {}, {} bytes", place.text(), what, size);
}

void print_faults(std::FILE *out, const Decoded &decoded) {
    for (const eeprom::Fault &fault : decoded.faults) {
        print_named(out, fmt::format("0x{:04x}", fault.offset), kOffsetColumns, fault.text);
    }
}

int exit_of_image(const Decoded &decoded) {
    return decoded.faults.empty() ? kExitOk : kExitReadingFailed;
}

int decode(const Options &options, const ReadRequest &request) {
    const ImagePlace place = place_of(request.words, request.place, options);
    const eeprom::Bytes image = read_image(place);
    const Decoded decoded = eeprom::decode(image, place.hint);
    const bool is_shown = decoded.faults.empty() || request.lenient;
    if (options.json) {
        Json json = {{"command", "eeprom decode"}, {"place", place_json(place)}};
        json.update(image_json(image, decoded));
        json["description"] = is_shown ? Json(decoded.description) : Json();
        print_json(options.out, json);
    } else if (is_shown) {
        fmt::print(options.out, "# {}\n{}", title(place, decoded, image.size()),
                   decoded.description);
    }
    if (!decoded.faults.empty() && !options.json && !request.lenient) {
        print_wrapped(stderr, title(place, decoded, image.size()), kIndent);
        print_faults(stderr, decoded);
        complain(
            fmt::format("{}: the image has faults; --lenient prints what can be read", place.name));
    }
    return exit_of_image(decoded);
}

int verify(const Options &options, const ReadRequest &request) {
    const auto backup = request.backup.empty() ? std::optional<Backup>()
                                               : std::optional(load_backup(request.backup));
    const bool is_named = !request.words.empty() || !request.place.bus.empty() || !backup;
    const ImagePlace place =
        is_named ? place_of(request.words, request.place, options) : place_now(*backup, options);
    const eeprom::Bytes image = read_image(place);
    const Decoded decoded = eeprom::decode(image, place.hint);
    const std::string progress = backup ? progress_text(*backup, image) : "";
    const std::string lifted =
        backup && place.protection ? changed_protection(backup->protection) : "";
    const int status = lifted.empty() ? exit_of_image(decoded) : kExitReadingFailed;
    if (options.json) {
        Json json = {{"command", "eeprom verify"}, {"place", place_json(place)}};
        json.update(image_json(image, decoded));
        json["progress"] = text_or_null(progress);
        json["protection_changed"] = text_or_null(lifted);
        print_json(options.out, json);
        return status;
    }
    const std::size_t faults = decoded.faults.size();
    print_wrapped(options.out,
                  fmt::format("{}: {}", title(place, decoded, image.size()),
                              faults == 0   ? "no faults"
                              : faults == 1 ? "1 fault"
                                            : fmt::format("{} faults", faults)),
                  kIndent);
    print_faults(options.out, decoded);
    if (!progress.empty()) {
        print_wrapped(options.out, "Compared with the backup: " + progress, kIndent);
    }
    if (!lifted.empty()) {
        print_wrapped(
            options.out,
            fmt::format("Write protection is not as before the change: {}; 'dfdctl eeprom "
                        "restore {}' puts it back",
                        lifted, request.backup),
            kIndent);
    }
    return status;
}

int encode(const Options & /*options*/, const ReadRequest &request) {
    const eeprom::Bytes image = eeprom::build_image(request.words.front());
    const std::string &path = request.words.back();
    // A file that stays as it is keeps its date: what was made from it need not be made again.
    const bool is_there = std::filesystem::is_regular_file(path);
    if (is_there && std::filesystem::file_size(path) == image.size() &&
        read_image({.name = path, .is_file = true}) == image) {
        return kExitOk;
    }
    try {
        dfd_tools::replace_file(path, std::string(image.begin(), image.end()));
    } catch (const std::system_error &error) {
        throw EepromFailure(kExitIo, error.what());
    }
    return kExitOk;
}

/// Fields that one of two images has otherwise.
std::vector<std::array<std::string, 3>> changed_fields(const Decoded &first,
                                                       const Decoded &second) {
    std::vector<std::array<std::string, 3>> rows;
    for (const eeprom::Field &field : first.fields) {
        const eeprom::Field *other = second.field(field.name);
        const std::string text = other != nullptr ? other->text : "-";
        if (text != field.text) {
            rows.push_back({field.name, field.text, text});
        }
    }
    for (const eeprom::Field &field : second.fields) {
        if (first.field(field.name) == nullptr) {
            rows.push_back({field.name, "-", field.text});
        }
    }
    return rows;
}

int diff(const Options &options, const ReadRequest &request) {
    std::vector<ImagePlace> places = places_of(request.words, request.place, options);
    if (places.size() != 2) {
        throw UsageError("diff takes two images, such as: fan 1 old.bin");
    }
    // A file is in the layout of the unit that it is compared with.
    for (std::size_t i = 0; i < 2; ++i) {
        if (places[i].is_file && !places[1 - i].is_file) {
            places[i].hint = places[1 - i].hint;
        }
    }
    const eeprom::Bytes first = read_image(places[0]);
    const eeprom::Bytes second = read_image(places[1]);
    const auto found = eeprom::differences(first, second);
    const auto fields = changed_fields(eeprom::decode(first, places[0].hint),
                                       eeprom::decode(second, places[1].hint));
    if (options.json) {
        Json rows = Json::array();
        for (const auto &[name, one, other] : fields) {
            rows.push_back({{"field", name}, {"first", one}, {"second", other}});
        }
        print_json(options.out, {{"command", "eeprom diff"},
                                 {"first", place_json(places[0])},
                                 {"second", place_json(places[1])},
                                 {"fields", rows},
                                 {"bytes", differences_json(found)}});
    } else {
        for (const auto &[name, one, other] : fields) {
            print_wrapped(options.out, fmt::format("{}: {} -> {}", name, one, other), kIndent);
        }
        fmt::print(options.out, "{}", differences_text(found, text_width()));
    }
    return found.empty() ? kExitOk : kExitReadingFailed;
}

/// Lets the command take words, and run with them.
std::shared_ptr<ReadRequest> take(Command &command, const Options &options, const char *usage,
                                  const char *help, std::size_t fewest, std::size_t most,
                                  int (*run)(const Options &, const ReadRequest &)) {
    auto request = std::make_shared<ReadRequest>();
    command.words(kWhat, request->words, help, usage, fewest, most);
    command.runs(
        [&options, request, run] { return reporting([&] { return run(options, *request); }); });
    return request;
}

}  // namespace

Json differences_json(const std::vector<eeprom::Difference> &differences) {
    Json rows = Json::array();
    for (const eeprom::Difference &each : differences) {
        rows.push_back({{"offset", each.offset}, {"before", each.before}, {"after", each.after}});
    }
    return rows;
}

Json image_json(const eeprom::Bytes &image, const Decoded &decoded) {
    Json fields = Json::array();
    for (const eeprom::Field &field : decoded.fields) {
        fields.push_back({{"name", field.name},
                          {"offset", field.offset},
                          {"size", field.size},
                          {"code", text_or_null(field.code)},
                          {"is_text", field.is_text},
                          {"value", field.text}});
    }
    Json faults = Json::array();
    for (const eeprom::Fault &fault : decoded.faults) {
        faults.push_back({{"offset", fault.offset}, {"message", fault.text}});
    }
    return {{"size", image.size()},
            {"layout", layout_name(decoded.layout)},
            {"blank", decoded.is_blank},
            {"fields", fields},
            {"faults", faults}};
}

void take_encode(Command &command, const Options &options) {
    take(command, options, "DESCRIPTION IMAGE",
         "A text file as 'dfdctl eeprom decode' prints it, and the file to write", 2, 2, encode);
}

void add_read_commands(Command &group, const Options &options) {
    const auto add = [&](const char *name, const char *description, const char *example,
                         const char *usage, std::size_t fewest, std::size_t most, auto run) {
        Command command = group.subcommand(name, description, example);
        return std::pair(command, take(command, options, usage, kWhatHelp, fewest, most, run));
    };
    auto [decode_command, decode_request] =
        add("decode", "Print what an image says, as text for 'encode'",
            "dfdctl eeprom decode fan 2", "[IMAGE]", 0, 2, decode);
    decode_command.flag("--lenient", decode_request->lenient,
                        "Print what can be read of an image with faults");
    add_place_options(decode_command, decode_request->place);
    auto [verify_command, verify_request] =
        add("verify", "List every fault of an image", "dfdctl eeprom verify board", "[IMAGE]", 0, 2,
            verify);
    verify_command.option("--backup", verify_request->backup,
                          "Also tell how far the change came that this was saved for", "FILE");
    add_place_options(verify_command, verify_request->place);
    auto [diff_command, diff_request] =
        add("diff", "Show what two images have otherwise", "dfdctl eeprom diff fan 1 fan 2",
            "IMAGE IMAGE", 1, 4, diff);
    add_place_options(diff_command, diff_request->place);
    Command encode_command = group.subcommand("encode", "Build an image file from a text",
                                              "dfdctl eeprom encode unit.toml unit.bin");
    take_encode(encode_command, options);
}

}  // namespace dfdctl
