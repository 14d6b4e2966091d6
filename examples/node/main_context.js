'use strict';

/*
 * GLib's default main context, driven by Node's loop.
 *
 * A turn of a main context has three parts: prepare what is due, poll file descriptors until something happens or the
 * next timer is due, dispatch callbacks. The first and the last run on Node's thread, so the library's callbacks do
 * too; the poll waits on a thread of Node's pool, because Node itself cannot watch a foreign descriptor. Nothing wakes
 * up while nothing happens. The poll keeps one of the pool's threads (UV_THREADPOOL_SIZE, four unless set), and the
 * process alive until stop().
 */
const koffi = require('koffi');

const PollFd = koffi.struct({ fd: 'int', events: 'ushort', revents: 'ushort' });
const PollFds = koffi.pointer(PollFd);

const glib = koffi.load('libglib-2.0.so.0');
const acquire = glib.func('g_main_context_acquire', 'int', ['void *']);
const release = glib.func('g_main_context_release', 'void', ['void *']);
const prepare = glib.func('g_main_context_prepare', 'int', ['void *', koffi.out('int *')]);
const query = glib.func('g_main_context_query', 'int', ['void *', 'int', koffi.out('int *'), PollFds, 'int']);
const check = glib.func('g_main_context_check', 'int', ['void *', 'int', PollFds, 'int']);
const dispatch = glib.func('g_main_context_dispatch', 'void', ['void *']);
const wakeUp = glib.func('g_main_context_wakeup', 'void', ['void *']);
const poll = koffi.load('libc.so.6').func('poll', 'int', [PollFds, 'ulong', 'int']);

const defaultContext = glib.func('g_main_context_default', 'void *', [])();
let running = false;
let room = 16; // descriptors that fit into `fds`; more are made room for
let fds = koffi.alloc(PollFd, room);

function turn() {
  const priority = [0];
  const timeout = [0];
  prepare(defaultContext, priority);
  let count = query(defaultContext, priority[0], timeout, fds, room);
  while (count > room) {
    koffi.free(fds);
    room = count;
    fds = koffi.alloc(PollFd, room);
    count = query(defaultContext, priority[0], timeout, fds, room);
  }
  // -1 milliseconds where no timer is set: it sleeps until a descriptor is ready.
  poll.async(fds, count, timeout[0], () => {
    // An interrupted poll leaves no answers: the next turn asks anew.
    if (check(defaultContext, priority[0], fds, count)) dispatch(defaultContext);
    if (running) turn();
    else release(defaultContext);
  });
}

/* Call it once, on Node's main thread. */
function start() {
  if (!acquire(defaultContext)) throw new Error('another thread runs the default main context');
  running = true;
  turn();
}

/* The turn under way is the last one; Node then ends when nothing else keeps it. */
function stop() {
  running = false;
  wakeUp(defaultContext);
}

/*
 * A function of a library that may set timers or send something. GLib wakes a poll for other threads only; this one
 * owns the context, so it does that itself: the poll under way does not know yet what the call has added.
 */
function waking(call) {
  return (...values) => {
    call(...values);
    if (running) wakeUp(defaultContext);
  };
}

module.exports = { start, stop, waking };
