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
    // Whatever else stands in a pattern means what it means in a regular expression: widely copied scripts
    // rely on "(a|b)". What is none is taken by the letter.
    function expression(pattern) {
        return new RegExp("^" + pattern.replace(/\./g, "\\.").replace(/\*/g, "[^]*").replace(/\?/g, "[^]") + "$");
    }
    text = String(text);
    pattern = String(pattern);
    try {
        return expression(pattern).test(text);
    } catch (e) {
        return expression(pattern.replace(/[\\^$+()\[\]{}|]/g, "\\$&")).test(text);
    }
}

// The functions of Microsoft's extension for IPv6. Lists are divided by semicolons.

function getClientVersion() {
    return "1.0";
}

function isResolvableEx(host) {
    return dnsResolveEx(host) != "";
}

// The 4 or 16 bytes of an address, null if a text is none.
function addressBytes(text) {
    var quad = /^(\d{1,3})\.(\d{1,3})\.(\d{1,3})\.(\d{1,3})$/.exec(text);
    if (quad) {
        var bytes = quad.slice(1).map(Number);
        return bytes.every(function (byte) { return byte < 256; }) ? bytes : null;
    }
    text = text.replace(/^\[(.*)\]$/, "$1").replace(/%.*$/, "");
    var tail = /^(.*:)(\d+\.\d+\.\d+\.\d+)$/.exec(text);
    var last = tail ? addressBytes(tail[2]) : [];
    if (!last)
        return null;
    if (last.length)
        text = tail[1] + ((last[0] << 8) | last[1]).toString(16) + ":" + ((last[2] << 8) | last[3]).toString(16);
    var halves = text.split("::");
    function groups(half) { return half == "" ? [] : half.split(":"); }
    var before = groups(halves[0]);
    var after = halves.length == 2 ? groups(halves[1]) : [];
    var missing = 8 - before.length - after.length;
    if (halves.length > 2 || (halves.length == 2 ? missing < 1 : missing != 0))
        return null;
    for (var i = 0; i < missing; ++i)
        before.push("0");
    var all = before.concat(after);
    if (!all.every(function (group) { return /^[0-9a-f]{1,4}$/i.test(group); }))
        return null;
    return [].concat.apply([], all.map(function (group) {
        return [parseInt(group, 16) >> 8, parseInt(group, 16) & 0xff];
    }));
}

function isInNetEx(host, prefix) {
    var address = addressBytes(String(host));
    return String(prefix).split(";").some(function (one) {
        var parts = one.trim().split("/");
        var network = addressBytes(parts[0]);
        if (!address || !network || network.length != address.length || !/^\d+$/.test(parts[1]) ||
            parts.length != 2 || +parts[1] > 8 * network.length)
            return false;
        for (var bit = 0; bit < +parts[1]; ++bit) {
            if (((address[bit >> 3] ^ network[bit >> 3]) >> (7 - (bit & 7))) & 1)
                return false;
        }
        return true;
    });
}

// IPv6 first, each kind by number; false if one of them is no address.
function sortIpAddressList(list) {
    var entries = String(list).split(";").map(function (text) {
        return { text: text.trim(), bytes: addressBytes(text.trim()) };
    });
    if (!entries.every(function (entry) { return entry.bytes; }))
        return false;
    entries.sort(function (a, b) {
        return b.bytes.length - a.bytes.length || compareLists(a.bytes, b.bytes);
    });
    return entries.map(function (entry) { return entry.text; }).join(";");
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
    if (count == 0 || count == 5 || count > 6)
        return false;
    // A day, a month and a year, or two of them, are one date and no range.
    function kind(value) { return isNaN(value) ? "month" : value > 31 ? "year" : "day"; }
    var isOne = count == 1 || count == 3 || (count == 2 && kind(range.list[0]) != kind(range.list[1]));
    var start = parts(isOne ? range.list : range.list.slice(0, count / 2));
    var end = isOne ? start : parts(range.list.slice(count / 2));
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
    // The last hour, minute or second belongs to it.
    return isBetween(clock(0, count / 2, 0), time, clock(count / 2, count / 2, 59), true);
}
)js";

}  // namespace platform
