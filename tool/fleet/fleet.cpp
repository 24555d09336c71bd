// SPDX-License-Identifier: GPL-2.0-only
#include "tool/fleet/fleet.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <list>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include <poll.h>

#include "tool/fleet/worker.h"
#include "tool/text/progress.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

// A slow input holds back the lines of those after it. So many of these wait for each process.
constexpr uint64_t lines_ahead = 8;
constexpr int poll_milliseconds = 100;

std::string line_text(const fleet_order& order, const std::string& input, const line_result& result,
                      std::string_view messages)
{
    std::ostringstream line;
    print_json_line(line_document(order.command, input, result, messages), line);
    return line.str();
}

std::string failure_line(const fleet_order& order, const std::string& input, int status,
                         const std::string& why)
{
    return line_text(order, input, {status, nullptr, nullptr}, input + ": " + why);
}

constexpr const char* standard_input = "-";

// A pipe or a device would be waited for, and a folder is none.
std::string why_no_input(const std::string& input)
{
    if (input == standard_input)
        return {};
    std::error_code error;
    if (std::filesystem::is_regular_file(input, error))
        return {};
    return error ? error.message() : "not a regular file";
}

// In the process of the job. The status leads the text: the parent does not parse documents.
std::string perform(const fleet_order& order, const std::string& input, const line_job& job)
{
    std::ostringstream messages;
    std::cerr.rdbuf(messages.rdbuf());
    line_result result;
    try {
        result = job(input);
    } catch (const std::exception& why) {
        messages << input << ": " << why.what() << '\n';
        result = {status_invalid, nullptr, nullptr};
    }
    return static_cast<char>(result.status) + line_text(order, input, result, messages.str());
}

/// An input whose process runs.
struct running_input {
    uint64_t number;
    std::string input;
    worker process;
    bool expired = false;
};

class fleet {
public:
    fleet(const fleet_order& order, input_list& inputs, const line_job& job, std::ostream& out)
        : order_(order), inputs_(inputs), job_(job), out_(out),
          progress_(counted(inputs.total().value_or(0), "input"), inputs.total().value_or(0))
    {
    }

    int run()
    {
        do {
            fill();
            wait();
            show_progress();
            if (out_failed_)
                at_work_.clear();
        } while (!at_work_.empty() || has_next());
        if (started_ == 0) {
            std::cerr << "gponflow: warning: no input: the list names none\n";
            status_ = std::max<int>(status_, status_failed);
        }
        return status_;
    }

private:
    bool has_next()
    {
        if (!next_ && !out_failed_)
            next_ = inputs_.next();
        return next_.has_value();
    }

    void fill()
    {
        while (at_work_.size() < order_.jobs && started_ - printed_ < order_.jobs * lines_ahead &&
               has_next()) {
            if (!start(*next_))
                return;
            next_.reset();
            ++started_;
        }
    }

    // The processes share standard input: the first one reads all of it.
    std::string why_refused(const std::string& input) const
    {
        if (input == standard_input && standard_input_read_)
            return "standard input is named for two inputs";
        return why_no_input(input);
    }

    // False if the system has no place for a process now.
    bool start(const std::string& input)
    {
        if (const std::string why = why_refused(input); !why.empty()) {
            take(started_, status_invalid, failure_line(order_, input, status_invalid, why));
            return true;
        }
        out_.flush();
        std::optional<worker> process =
            worker::start([this, &input] { return perform(order_, input, job_); });
        if (!process && at_work_.empty())
            throw std::runtime_error("cannot start a process for " + input);
        standard_input_read_ = standard_input_read_ || (process && input == standard_input);
        if (process)
            at_work_.push_back({started_, input, std::move(*process)});
        return process.has_value();
    }

    void wait()
    {
        std::vector<pollfd> files;
        for (const running_input& one : at_work_)
            files.push_back({one.process.descriptor(), POLLIN, 0});
        if (files.empty() || poll(files.data(), files.size(), poll_milliseconds) < 0)
            return;
        auto file = files.begin();
        for (auto one = at_work_.begin(); one != at_work_.end(); ++file) {
            const bool ended = file->revents != 0 && !one->process.read();
            if (ended)
                finish(*one);
            else
                limit(*one);
            one = ended ? at_work_.erase(one) : std::next(one);
        }
    }

    void limit(running_input& one) const
    {
        if (order_.limit.count() == 0 ||
            std::chrono::steady_clock::now() - one.process.started() < order_.limit)
            return;
        one.expired = true;
        one.process.kill();
    }

    void finish(running_input& one)
    {
        const worker_result result = one.process.finish();
        if (const auto& text = result.text; text && !text->empty())
            return take(one.number, text->front(), text->substr(1));
        const std::string why =
            one.expired ? "not finished after " +
                              counted(static_cast<uint64_t>(order_.limit.count()), "second")
                        : result.why;
        take(one.number, status_unsupported,
             failure_line(order_, one.input, status_unsupported, why));
    }

    // Lines wait for those of the inputs before them.
    void take(uint64_t number, int status, std::string line)
    {
        status_ = std::max(status_, status);
        waiting_.emplace(number, std::move(line));
        for (auto first = waiting_.begin(); first != waiting_.end() && first->first == printed_;
             first = waiting_.erase(first), ++printed_)
            out_ << first->second;
        if (out_.flush() || out_failed_)
            return;
        out_failed_ = true;
        next_.reset();
        status_ = status_unsupported;
        std::cerr << "gponflow: cannot write to standard output\n";
    }

    void show_progress()
    {
        if (!progress_.due())
            return;
        if (inputs_.total())
            progress_.show(printed_);
        else
            progress_.show_text(counted(printed_, "input"));
    }

    const fleet_order& order_;
    input_list& inputs_;
    const line_job& job_;
    std::ostream& out_;
    progress_line progress_;
    std::optional<std::string> next_; ///< taken from the inputs, not started
    std::list<running_input> at_work_;
    std::map<uint64_t, std::string> waiting_; ///< finished lines by number of the input
    uint64_t started_ = 0;
    uint64_t printed_ = 0;
    int status_ = status_ok;
    bool standard_input_read_ = false;
    bool out_failed_ = false;
};

} // namespace

int run_fleet(const fleet_order& order, input_list& inputs, const line_job& job, std::ostream& out)
{
    return fleet(order, inputs, job, out).run();
}

} // namespace gponflow
