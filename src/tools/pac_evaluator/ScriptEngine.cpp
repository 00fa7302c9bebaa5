#include "tools/pac_evaluator/ScriptEngine.h"

#include <unistd.h>

#include <QStringList>

#include "tools/pac_evaluator/OldSyntax.h"

namespace {

using channel::Message;

constexpr size_t kLongestAnswer = size_t{16} * 1024;
constexpr int kLongestArgument = 4096;

// In the script's own language, so that also what is no Error object can be caught.
constexpr char kMakeFunction[] =
    "(function (questions) { var text = String; return function (name) { return function (argument) {"
    " return questions.ask(name, argument === undefined ? '' : text(argument)); }; }; })";
constexpr char kCallFunction[] =
    "(function () { var text = String; return function (f, values) {"
    " try { return [true, f.apply(null, values)]; } catch (e) { return [false, text(e)]; } }; })()";
// Beyond the engine's own, dates are read with the name of a weekday before them, as browsers do.
constexpr char kSurroundings[] = R"js(
var window = this;
function alert() {}
(function (Native) {
    function read(text) {
        var time = Native.parse(text);
        if (!isNaN(time))
            return time;
        var bare = text.replace(/^\s*(?:sun|mon|tue|wed|thu|fri|sat)[a-z]*[,.]?\s+/i, "");
        var universal = /\s(?:GMT|UTC)$/i.test(bare);
        bare = bare.replace(/\s(?:GMT|UTC)$/i, "").replace(/^(\d{1,2})[ -]([a-z]{3})[a-z]*[ -](\d{4})/i, "$2 $1 $3");
        time = Native.parse(bare);
        return universal ? time - new Native(time).getTimezoneOffset() * 60000 : time;
    }
    function Date(value) {
        if (!(this instanceof Date))
            return new Native().toString();
        if (arguments.length != 1)
            return new Native(...arguments);
        return new Native(typeof value == "string" ? read(value) : value);
    }
    Date.prototype = Native.prototype;
    Date.prototype.constructor = Date;
    Date.parse = function (text) { return read(String(text)); };
    Date.UTC = Native.UTC;
    Date.now = Native.now;
    window.Date = Date;
})(Date);
)js";

Message failed(const QString& text) {
    return {channel::failed, text.left(1000).toStdString()};
}

Message done(const QJSValue& value) {
    if (value.isNull() || value.isUndefined())
        return {channel::done, ""};
    std::string text = value.toString().toStdString();
    if (text.size() > kLongestAnswer)
        return {channel::failed, "the answer is too long"};
    return {channel::done, std::move(text)};
}

}  // namespace

QJSValue Questions::ask(const QString& name, const QString& argument) {
    const std::string question = name.toStdString() + '\0' + argument.left(kLongestArgument).toStdString();
    if (!channel::send(handle_, channel::ask, question))
        _exit(1);
    const auto answer = channel::receive(handle_);
    if (!answer || answer->id != channel::reply)
        _exit(1);
    if (answer->data.empty())
        return {QJSValue::NullValue};
    return {QString::fromUtf8(answer->data.data() + 1, static_cast<qsizetype>(answer->data.size() - 1))};
}

ScriptEngine::ScriptEngine(int handle) : questions_(handle) {
    QJSEngine::setObjectOwnership(&questions_, QJSEngine::CppOwnership);
    makeFunction_ = engine_.evaluate(kMakeFunction).call({engine_.newQObject(&questions_)});
    callFunction_ = engine_.evaluate(kCallFunction);
    engine_.evaluate(kSurroundings);
}

void ScriptEngine::warmUp() {
    engine_.evaluate(
        "(new Date()).toString() + (new Date(2030, 6, 1)).toLocaleString() + (new "
        "Date('2100-01-01')).getHours()"
        " + 'a'.localeCompare('b') + (1.5).toLocaleString() + 'i'.toUpperCase() + /a+b/i.test('b') + "
        "Math.random()");
}

void ScriptEngine::define(const std::string& object, const std::string& name) {
    const QString key = QString::fromStdString(object);
    QJSValue owner = engine_.globalObject();
    if (!key.isEmpty()) {
        owner = engine_.globalObject().property(key);
        if (!owner.isObject()) {
            owner = engine_.newObject();
            engine_.globalObject().setProperty(key, owner);
        }
    }
    const QString function = QString::fromStdString(name);
    owner.setProperty(function, makeFunction_.call({key + "." + function}));
}

Message ScriptEngine::evaluate(const std::string& source) {
    QStringList trace;
    QJSValue value = engine_.evaluate(QString::fromStdString(source), "script", 1, &trace);
    // Nothing of it has run then.
    if (value.isError() && value.errorType() == QJSValue::SyntaxError) {
        trace.clear();
        value = engine_.evaluate(QString::fromStdString(withoutOldSyntax(source)), "script", 1, &trace);
    }
    if (value.isError() || !trace.isEmpty())
        return failed(value.toString() + (trace.isEmpty() ? QString() : " (" + trace.first() + ")"));
    return {channel::done, ""};
}

Message ScriptEngine::call(const std::vector<std::string>& nameAndArguments) {
    const QString name = QString::fromStdString(nameAndArguments.front());
    const QJSValue function = engine_.globalObject().property(name);
    if (!function.isCallable())
        return failed("there is no function " + name);
    QJSValue values = engine_.newArray(static_cast<uint>(nameAndArguments.size() - 1));
    for (size_t i = 1; i < nameAndArguments.size(); ++i)
        values.setProperty(static_cast<quint32>(i - 1), QString::fromStdString(nameAndArguments[i]));
    const QJSValue outcome = callFunction_.call({function, values});
    if (outcome.isError())
        return failed(outcome.toString());
    if (!outcome.property(0).toBool())
        return failed(outcome.property(1).toString());
    Message message = done(outcome.property(1));
    engine_.collectGarbage();
    return message;
}
