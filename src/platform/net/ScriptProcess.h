#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// Runs scripts that nobody vouches for, in a program of its own (the bundled pac_evaluator) that has limits
/// on processor time, memory and files and sees nothing of us. A script that loops, eats memory or breaks its
/// engine costs an answer and a log line. The program is started when it is needed and ended after half a
/// minute without work. Main thread only, whose loop is served while an answer is awaited: the object may be
/// destroyed and another call made meanwhile; calls are answered in their order.
class ScriptProcess {
public:
    struct Settings {
        std::string program;                         ///< the bundled one if empty
        std::chrono::milliseconds deadline{3000};    ///< of each evaluation and each call; then it is killed
        std::chrono::milliseconds lookUpTime{1500};  ///< for one question, and at most two thirds of a
                                                     ///< deadline for all of a call's
        std::chrono::milliseconds idle{30000};       ///< after that long without work the program is ended
        /// No new start for so long after the second failure within 10 minutes; doubled by each further one,
        /// up to 10 minutes.
        std::chrono::milliseconds pause{30000};
    };

    struct Answer {
        bool failed = false;
        bool broken = false;  ///< failed, because there was no process that could answer
        std::string text;     ///< the result, "" for null and undefined; or what went wrong
    };

    /// Answers a script's question: none is null. Runs on a thread of its own, so it may wait; it may outlive
    /// the process object.
    using Question = std::function<std::optional<std::string>(const std::string& argument)>;

    static constexpr size_t kLongestScript = size_t{1024} * 1024;
    /// Different questions that one call may ask; further ones are answered with null.
    static constexpr int kMostQuestions = 20;

    ScriptProcess();
    explicit ScriptProcess(Settings settings);
    ~ScriptProcess();
    ScriptProcess(const ScriptProcess&) = delete;
    ScriptProcess& operator=(const ScriptProcess&) = delete;

    /// Gives the scripts a function of one argument: in the global object, or in one of the name `object`.
    void define(const std::string& object, const std::string& name, Question question);

    /// Adds a script, and starts the program to evaluate it. `evaluated`, which may be empty, is called once,
    /// on the loop, with what the evaluation gave. Scripts and functions come to life again, in their order,
    /// in every new program.
    void evaluate(std::string source, std::function<void(const Answer&)> evaluated);

    /// Calls a global function of the scripts with texts. Never waits much longer than two deadlines.
    Answer call(const std::string& function, const std::vector<std::string>& arguments);

private:
    struct Impl;
    std::shared_ptr<Impl> impl_;
};

}  // namespace platform
