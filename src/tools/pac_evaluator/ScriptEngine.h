#pragma once

#include <QJSEngine>
#include <QObject>
#include <QString>
#include <string>
#include <vector>

#include "tools/pac_evaluator/Channel.h"

/// What scripts reach of the world outside: nothing but questions to the assistant.
class Questions : public QObject {
    Q_OBJECT

public:
    explicit Questions(int handle) : handle_(handle) {}

    /// Asks and waits. Null if the assistant has no answer; ends the process if it has gone.
    Q_INVOKABLE QJSValue ask(const QString& name, const QString& argument);

private:
    int handle_;
};

/// The script engine of one page or one configuration script.
class ScriptEngine {
public:
    explicit ScriptEngine(int handle);

    /// Has everything loaded that the engine reads from files when a script first needs it.
    void warmUp();

    void define(const std::string& object, const std::string& name);
    /// Both return a message for the assistant: done or failed.
    channel::Message evaluate(const std::string& source);
    channel::Message call(const std::vector<std::string>& nameAndArguments);

private:
    Questions questions_;
    QJSEngine engine_;
    QJSValue makeFunction_;
    QJSValue callFunction_;
};
