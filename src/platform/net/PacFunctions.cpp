#include "platform/net/PacFunctions.h"

namespace platform {

const char* const kPacFunctions = R"js(
var dayNames = ["SUN", "MON", "TUE", "WED", "THU", "FRI", "SAT"];
var monthNames = ["JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"];

function indexOfName(names, name) {
    for (var i = 0; i < namesLookedUp && i < names.length; ++i) {
        if (names[i] == name)
            return i;
    }
    return -1;
}

function isPlainHostName(host) {
    return host.indexOf(".") < 0;
}

function dnsDomainIs(host, domain) {
    return host.length >= domain.length && host.substring(host.length - domain.length) == domain;
}

function dnsDomainLevels(host) {
    return host.split(".").length - 1;
}

function localHostOrDomainIs(host, fullName) {
    return host == fullName || fullName.indexOf(host + ".") == 0;
}

function isResolvable(host) {
    return dnsResolve(host) != null;
}

function convert_addr(address) {
    var parts = String(address).split(".");
    var value = 0;
    for (var i = 0; i < 4; ++i)
        value = (value << 8) | (parts[i] & 0xff);
    return value;
}

function isInNet(host, pattern, mask) {
    var quad = /^(\d+)\.(\d+)\.(\d+)\.(\d+)$/.exec(host);
    if (!quad) {
        host = dnsResolve(host);
        if (host == null)
            return false;
    } else if (quad[1] > 255 || quad[2] > 255 || quad[3] > 255 || quad[4] > 255) {
        return false;
    }
    return (convert_addr(host) & convert_addr(mask)) == (convert_addr(pattern) & convert_addr(mask));
}

function shExpMatch(text, pattern) {
    var expression = pattern.replace(/[\\^$+()\[\]{}|.]/g, "\\$&");
    expression = expression.replace(/\*/g, "[^]*").replace(/\?/g, "[^]");
    return new RegExp("^" + expression + "$").test(text);
}

// The arguments of a range as an array, without a "GMT" at their end.
function rangeArguments(given) {
    var list = Array.prototype.slice.call(given);
    var gmt = list.length > 0 && list[list.length - 1] == "GMT";
    if (gmt)
        list.pop();
    return { list: list, gmt: gmt };
}

// -1, 0 or 1: which of two lists of numbers comes first.
function compareLists(a, b) {
    for (var i = 0; i < a.length; ++i) {
        if (a[i] != b[i])
            return a[i] < b[i] ? -1 : 1;
    }
    return 0;
}

// A range that ends before it begins goes round, if it can.
function isBetween(start, now, end, goesRound) {
    var begun = compareLists(start, now) <= 0;
    var open = compareLists(now, end) <= 0;
    return goesRound && compareLists(start, end) > 0 ? begun || open : begun && open;
}

function weekdayRange() {
    var range = rangeArguments(arguments);
    var first = indexOfName(dayNames, range.list[0]);
    var last = range.list.length > 1 ? indexOfName(dayNames, range.list[1]) : first;
    if (first < 0 || last < 0)
        return false;
    var now = new Date();
    return isBetween([first], [range.gmt ? now.getUTCDay() : now.getDay()], [last], true);
}

function dateRange() {
    var range = rangeArguments(arguments);
    var now = new Date();
    var today = range.gmt ? { year: now.getUTCFullYear(), month: now.getUTCMonth(), day: now.getUTCDate() }
                          : { year: now.getFullYear(), month: now.getMonth(), day: now.getDate() };
    function parts(list) {
        var found = {};
        for (var i = 0; i < list.length; ++i) {
            if (isNaN(list[i]))
                found.month = indexOfName(monthNames, list[i]);
            else if (list[i] > 31)
                found.year = +list[i];
            else
                found.day = +list[i];
        }
        return found;
    }
    function inOrder(date, like) {
        var list = [];
        var names = ["year", "month", "day"];
        for (var i = 0; i < names.length; ++i) {
            if (like[names[i]] !== undefined)
                list.push(date[names[i]]);
        }
        return list;
    }
    var count = range.list.length;
    if (count == 0 || (count > 1 && count % 2 != 0))
        return false;
    var start = parts(count == 1 ? range.list : range.list.slice(0, count / 2));
    var end = count == 1 ? start : parts(range.list.slice(count / 2));
    return isBetween(inOrder(start, start), inOrder(today, start), inOrder(end, start),
                     start.year === undefined);
}

function timeRange() {
    var range = rangeArguments(arguments);
    var list = range.list;
    var count = list.length;
    if (count != 1 && count != 2 && count != 4 && count != 6)
        throw "timeRange: bad number of arguments";
    var now = new Date();
    var time = range.gmt ? [now.getUTCHours(), now.getUTCMinutes(), now.getUTCSeconds()]
                         : [now.getHours(), now.getMinutes(), now.getSeconds()];
    function clock(begin, length, rest) {
        var value = [0, rest, rest];
        for (var i = 0; i < length; ++i)
            value[i] = +list[begin + i];
        return value;
    }
    if (count == 1)
        return time[0] == list[0];
    // Hours alone end with their beginning, as do hours with minutes.
    return isBetween(clock(0, count / 2, 0), time, clock(count / 2, count / 2, 0), true);
}
)js";

}  // namespace platform
