// SPDX-License-Identifier: MIT
// dfdctl watch: a page again and again. Each pass is a process of its own: the library keeps what
// it has read, and a device that hangs must not hold up the keys.
#include "dfdctl/command.hpp"

#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <ctime>
#include <memory>
#include <system_error>

#include "dfdctl/check/report.hpp"
#include "dfdctl/output.hpp"
#include "dfdctl/show/text.hpp"
#include "dfdctl/watch/changes.hpp"
#include "dfdctl/watch/terminal.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using watch::Changes;
using watch::Events;
using watch::Screen;
using watch::Signals;
using watch::Style;

constexpr const char *kCheck = "check";
constexpr double kMsPerSecond = 1000.0;
constexpr double kLeastSeconds = 0.1;
constexpr double kMostSeconds = 86400.0;

struct Arguments {
    std::vector<std::string> page;
    std::string seconds = "2";
    std::string count;
};

/// What is to be watched.
struct Request {
    std::string page;
    std::string unit;
    milliseconds interval;
    unsigned count;  ///< of passes; 0: no end

    std::string name() const {
        return fmt::format("{}{}{}{}", page == kCheck ? "" : "show ", page, unit.empty() ? "" : " ",
                           unit);
    }
};

template <typename Number>
Number number(const char *option, const std::string &word, Number least, Number most) {
    Number value = {};
    const char *end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end || value < least || value > most) {
        throw UsageError(
            fmt::format("{}: '{}' is no number from {} to {}", option, word, least, most));
    }
    return value;
}

Request request_of(const Arguments &arguments) {
    constexpr unsigned kMostPasses = 1000000;
    const std::vector<std::string> names = page_names();
    Request request{.page = arguments.page.empty() ? kCheck : arguments.page.front(),
                    .unit = arguments.page.size() > 1 ? arguments.page.back() : "",
                    .interval = {},
                    .count = arguments.count.empty()
                                 ? 0U
                                 : number("--count", arguments.count, 1U, kMostPasses)};
    if (request.page != kCheck && std::ranges::find(names, request.page) == names.end()) {
        throw UsageError(fmt::format("there is no page '{}'; the pages are: {}, {}", request.page,
                                     kCheck, joined(names, ", ")));
    }
    const double seconds = number("-n", arguments.seconds, kLeastSeconds, kMostSeconds);
    request.interval = milliseconds(static_cast<long>(seconds * kMsPerSecond));
    return request;
}

/// In the process of a pass.
int read_once(const Options &options, const Request &request) {
    return dfd_tools::reporting_failure(kExitIo, complain, [&options, &request] {
        return request.page == kCheck
                   ? check::check_chassis(options)
                   : show(options, request.page, request.unit, Order::worst_first);
    });
}

/// A process that reads the page once; it is ended with this object.
class Pass {
  public:
    Pass(const Options &options, const Request &request, const Signals &signals)
        : errors_(std::tmpfile()) {
        std::array<int, 2> ends = {};
        if (errors_ == nullptr || pipe(ends.data()) != 0) {
            throw std::system_error(errno, std::generic_category(), "starting a pass");
        }
        std::fflush(options.out);
        child_ = fork();
        if (child_ == 0) {
            signals.restore();
            Options own = options;
            own.out = fdopen(ends[1], "w");
            dup2(options.json ? STDERR_FILENO : fileno(errors_), STDERR_FILENO);
            dup2(STDERR_FILENO, STDOUT_FILENO);
            const int status = read_once(own, request);
            std::fclose(own.out);
            std::fflush(nullptr);
            _exit(status);
        }
        close(ends[1]);
        from_ = ends[0];
        if (child_ < 0) {
            throw std::system_error(errno, std::generic_category(), "starting a pass");
        }
    }

    ~Pass() {
        close(from_);
        std::fclose(errors_);
        if (child_ > 0) {
            kill(child_, SIGKILL);
            waitpid(child_, nullptr, 0);
        }
    }
    Pass(const Pass &) = delete;
    Pass &operator=(const Pass &) = delete;

    int descriptor() const { return from_; }
    const std::string &text() const { return text_; }

    /// False at its end.
    bool read_more() {
        std::array<char, 4096> part = {};
        const ssize_t count = read(from_, part.data(), part.size());
        text_.append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return count > 0;
    }

    int finish() {
        int status = 0;
        waitpid(child_, &status, 0);
        child_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : static_cast<int>(kExitIo);
    }

    std::string messages() const {
        std::string text;
        std::rewind(errors_);
        for (int c = std::fgetc(errors_); c != EOF; c = std::fgetc(errors_)) {
            text += static_cast<char>(c);
        }
        return text;
    }

  private:
    std::FILE *errors_;
    pid_t child_ = 0;
    int from_ = -1;
    std::string text_ = {};
};

std::string clock_text() {
    const std::time_t now = std::time(nullptr);
    std::tm time = {};
    localtime_r(&now, &time);
    return fmt::format("{:02}:{:02}:{:02}", time.tm_hour, time.tm_min, time.tm_sec);
}

/// Lines that are not wider than the text may be, as messages are.
void append_lines(std::vector<std::string> &lines, const std::string &text) {
    constexpr std::size_t kIndent = 4;
    std::ranges::move(wrapped_lines(text, text_width(), kIndent), std::back_inserter(lines));
}

class Watch {
  public:
    Watch(const Options &options, const Request &request)
        : options_(options),
          request_(request),
          is_screen_(!options.json && isatty(fileno(options.out)) != 0),
          screen_(options.out),
          changes_(is_screen_ && is_coloured() ? Style::reverse : Style::star) {}

    int run() {
        int ending = 0;
        {
            const Signals signals;
            if (is_screen_) {
                screen_.enter();
            }
            while (ending == 0 && !is_over_) {
                begin(signals);
                ending = handle(signals.wait(pass_ ? pass_->descriptor() : -1,
                                             is_screen_ && isatty(STDIN_FILENO) != 0, time_left()));
            }
            pass_.reset();
            screen_.leave();
        }
        if (ending != 0) {
            std::fflush(options_.out);
            raise(ending);
        }
        fmt::print(stderr, "{}", refusal_);
        return status_;
    }

  private:
    void begin(const Signals &signals) {
        if (!pass_ && steady_clock::now() >= next_) {
            next_ = steady_clock::now() + request_.interval;
            // What is wider than the terminal would spoil the page that is drawn.
            set_width(options_.out, is_screen_ ? 0 : options_.width, options_.wide && !is_screen_);
            pass_ = std::make_unique<Pass>(options_, request_, signals);
        }
    }

    milliseconds time_left() const {
        return pass_ ? request_.interval
                     : std::chrono::ceil<milliseconds>(next_ - steady_clock::now());
    }

    /// The signal that ends it, or 0.
    int handle(const Events &events) {
        if (events.is_stopped) {
            screen_.leave();
            Signals::stop();
        }
        if (is_screen_ && (events.is_stopped || events.is_continued)) {
            screen_.leave();
            screen_.enter();
            screen_.draw(lines_);
        }
        if (events.is_resized && is_screen_) {
            pass_.reset();
            changes_.forget();
            next_ = {};
        } else if (events.is_readable && pass_ && !pass_->read_more()) {
            tell(*pass_);
            pass_.reset();
        }
        is_over_ = is_over_ || events.wants_quit || std::ferror(options_.out) != 0;
        return events.ending;
    }

    void tell(Pass &pass) {
        status_ = pass.finish();
        ++passes_;
        if (pass.text().empty() && passes_ == 1) {
            refusal_ = pass.messages();
            is_over_ = true;
            return;
        }
        is_over_ = request_.count == passes_;
        if (options_.json) {
            print_json_line(pass.text());
            return;
        }
        lines_ = {fmt::format("dfdctl {}, {}{}", request_.name(), clock_text(),
                              is_screen_ ? "; q ends it" : "")};
        std::vector<std::string> page;
        append_lines(page, pass.text() + pass.messages());
        page = changes_.marked(page);
        lines_.insert(lines_.end(), page.begin(), page.end());
        if (is_screen_) {
            screen_.draw(lines_);
        } else {
            fmt::print(options_.out, "{}\n\n", joined(lines_, "\n"));
            std::fflush(options_.out);
        }
    }

    void print_json_line(const std::string &text) const {
        if (const std::string line = dfd_tools::one_line(text); !line.empty()) {
            fmt::print(options_.out, "{}\n", line);
            std::fflush(options_.out);
        }
    }

    const Options &options_;
    const Request &request_;
    bool is_screen_;
    Screen screen_;
    Changes changes_;
    std::unique_ptr<Pass> pass_ = {};
    steady_clock::time_point next_ = {};
    std::vector<std::string> lines_ = {};
    std::string refusal_ = {};
    unsigned passes_ = 0;
    int status_ = kExitOk;
    bool is_over_ = false;
};

}  // namespace

void add_watch(Command &top, const Options &options) {
    auto arguments = std::make_shared<Arguments>();
    Command command = top.subcommand("watch", "Show a page again and again, changed values marked",
                                     "dfdctl watch fans -n 5 --count 1");
    command.words("PAGE", arguments->page,
                  "check (the usual one), or a page of show, and of that one unit", "[PAGE [UNIT]]",
                  0, 2);
    command.option("-n,--interval", arguments->seconds, "Time between two passes (default 2)",
                   "SECONDS");
    command.option("--count", arguments->count, "End after so many passes", "N");
    command.runs([&options, arguments] {
        const Request request = request_of(*arguments);
        return Watch(options, request).run();
    });
}

}  // namespace dfdctl
