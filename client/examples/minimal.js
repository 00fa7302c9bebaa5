#!/usr/bin/env node
// A meeting client in one page, without the library: starts the assistant, tells it about a meeting, and leaves as
// planned. Meeting data goes over the message port, notifications over the session bus; without a bus, or without the
// package for it ("npm install" in this folder), they go over the port as well.
//     node minimal.js /opt/orvane/bin/orvanedga
'use strict';
const { spawn } = require('node:child_process');
const net = require('node:net');
const path = require('node:path');

const folder = '/com/tellan/orvane/DistributedNotifications';
const notifications = 'com.tellan.orvane.DistributedNotifications';
const ids = {
  ORVANE_DGA_PASSING_JSON_DATA: 0x4f564401,
  ORVANE_DGA_KEEP_ALIVE: 0x4f564402,
  ORVANE_DGA_GENERATE_REPORT: 0x4f564403,
  ORVANE_DGA_GENERATE_REPORT_AND_EXIT: 0x4f564404,
  ORVANE_DGA_APP_EXIT: 0x4f564405,
};
const pause = (milliseconds) => new Promise((resolve) => setTimeout(resolve, milliseconds));

function within(milliseconds, what, promise) {
  let timer;
  const late = new Promise((_, reject) => {
    timer = setTimeout(() => reject(new Error(`${what} took more than ${milliseconds} ms`)), milliseconds);
  });
  return Promise.race([promise, late]).finally(() => clearTimeout(timer));
}

// The bus, or null. What it posts to the assistant of process id `pid` is heard once the name of that pid is ours.
async function openBus() {
  let bus = null;
  try {
    bus = require('@homebridge/dbus-native').sessionBus();
    bus.connection.on('error', () => {});
    const rule = `type='signal',interface='${notifications}'`;
    await within(5000, 'the bus', new Promise((resolve, reject) => {
      bus.connection.once('error', reject);
      bus.addMatch(rule, (error) => (error ? reject(error) : resolve()));
    }));
  } catch (error) {
    console.error(`without the bus: ${error.message || error.code || error}`);
    return null;
  }
  const seen = new Set();
  bus.connection.on('message', (message) => {
    if (message.interface === notifications && message.member === 'Posted') seen.add(message.body[0]);
  });
  return {
    own: (pid) => new Promise((resolve, reject) => {
      bus.requestName(`com.tellan.orvane.client.p${pid}`, 4, (error) => (error ? reject(error) : resolve()));
    }),
    async ready(pid) {
      while (!seen.has(`ORVANE_DGA_APP_READY_${pid}`)) await pause(5);
    },
    post(pid, name, json) {
      const info = json ? [['DgaJsonData', ['s', json]]] : [];
      bus.sendSignal(folder, notifications, 'Posted', 'ssa{sv}', [`${name}_${pid}`, '', info]);
    },
    // With an answer to what is sent last, all before has reached the bus.
    close: () => new Promise((resolve) => {
      bus.invokeDbus({ member: 'GetId' }, () => resolve(bus.connection.end()));
    }),
  };
}

// One connection to the message port; its messages arrive in their order.
async function openPort(pid) {
  const runtime = process.env.XDG_RUNTIME_DIR || `/run/user/${process.getuid()}`;
  const file = path.join(runtime, `com.tellan.orvane.orvanedga.${pid}`);
  for (let left = 1000; ; left--) {
    const socket = net.connect(file);
    try {
      await new Promise((resolve, reject) => socket.once('connect', resolve).once('error', reject));
      return {
        send(id, text) {
          const header = Buffer.alloc(8);
          header.writeInt32LE(id, 0);
          header.writeUInt32LE(Buffer.byteLength(text), 4);
          socket.write(Buffer.concat([header, Buffer.from(text)]));
        },
        close: () => new Promise((resolve) => socket.end(resolve)),
      };
    } catch (error) {
      if (left === 0) throw error;
      await pause(10);
    }
  }
}

async function main(program) {
  const bus = await openBus();
  const child = spawn(program, [], { stdio: 'inherit' });
  const { pid } = child;
  if (!pid) throw new Error(`${program} could not be started`);
  child.unref();
  const port = await (async () => {
    if (!bus) return openPort(pid);
    await bus.own(pid);
    await within(10000, 'the assistant', bus.ready(pid));
    return null;
  })();
  const post = (name, json = '') => (bus ? bus.post(pid, name, json) : port.send(ids[name], json));

  post('ORVANE_DGA_PASSING_JSON_DATA', JSON.stringify({
    serviceType: 1, processID: String(process.pid), activeLanguage: 0, clientVersion: '1.0',
    confId: '123456', userName: 'Ann',
  }));
  // A client sends the heartbeat every few seconds, and all of the meeting's state when a part of it changes.
  post('ORVANE_DGA_KEEP_ALIVE');
  const meeting = { network: { networkStatus: 1 } };
  const data = await openPort(pid);
  data.send(0, JSON.stringify({ ...meeting, event: { eventType: 1 } }));
  meeting.audioQuality = { sendQuality: 4 };
  data.send(0, JSON.stringify(meeting));
  await data.close();
  post('ORVANE_DGA_APP_EXIT');
  await (bus || port).close();
}

main(process.argv[2]).catch((error) => {
  console.error(error.message || error);
  process.exit(1);
});
