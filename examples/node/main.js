'use strict';

/*
 * A host in JavaScript: an icon in the tray with a menu, and a line on standard output for whatever the user does.
 *
 *   npm install
 *   node main.js
 *
 * The loader has to find libquill_tray_manager.so.1: install it, or name its directory in LD_LIBRARY_PATH.
 */
const zlib = require('node:zlib');
const koffi = require('koffi');
const mainContext = require('./main_context.js');

const library = koffi.load('libquill_tray_manager.so.1');
const OnClick = koffi.pointer(koffi.proto('void OnClick()'));
const OnMenuItem = koffi.pointer(koffi.proto('void OnMenuItem(const char *identifier)'));

function declare(name, ...types) {
  return mainContext.waking(library.func('quill_tray_manager_' + name, 'void', types));
}
const tray = {
  create: declare('create'),
  setMainIcon: declare('set_main_icon', 'const uint8_t *', 'intptr_t'),
  setMenuItemsJson: declare('set_menu_items_json', 'const char *'),
  setClickCallback: declare('set_click_callback', OnClick),
  setMenuItemCallback: declare('set_menu_item_callback', OnMenuItem),
};

/* A PNG of 44 by 44 black pixels, 22 points at twice the density; opacity(x, y) is 0 to 1. */
function png(opacity) {
  const size = 44;
  const chunk = (kind, data) => {
    const body = Buffer.concat([Buffer.from(kind), data]);
    const whole = Buffer.alloc(8 + body.length);
    whole.writeUInt32BE(data.length);
    body.copy(whole, 4);
    whole.writeUInt32BE(crc32(body), 4 + body.length);
    return whole;
  };
  const header = Buffer.from([0, 0, 0, size, 0, 0, 0, size, 8, 4, 0, 0, 0]); // 8 bits, grey with alpha
  const rows = Buffer.alloc(size * (1 + 2 * size)); // a row: filter "none", then pairs of grey and alpha
  for (let y = 0; y < size; ++y) {
    for (let x = 0; x < size; ++x) rows[y * (1 + 2 * size) + 2 + 2 * x] = Math.round(255 * opacity(x, y));
  }
  const signature = Buffer.from('89504e470d0a1a0a', 'hex');
  const parts = [chunk('IHDR', header), chunk('IDAT', zlib.deflateSync(rows)), chunk('IEND', Buffer.alloc(0))];
  return Buffer.concat([signature, ...parts]);
}

function crc32(bytes) {
  let sum = ~0;
  for (const byte of bytes) {
    sum ^= byte;
    for (let bit = 0; bit < 8; ++bit) sum = (sum >>> 1) ^ (sum & 1 ? 0xedb88320 : 0);
  }
  return ~sum >>> 0;
}

/* A hexagon with soft edges. */
function hexagon(x, y) {
  const [dx, dy] = [Math.abs(x - 21.5), Math.abs(y - 21.5)];
  return Math.max(0, Math.min(1, 18 - Math.max(dx, dx / 2 + (dy * Math.sqrt(3)) / 2)));
}

// The library calls these later on, so they are registered: a plain function would be gone after the call.
const onClick = koffi.register(() => console.log('clicked'), OnClick);
const onMenuItem = koffi.register((identifier) => {
  console.log('chosen: ' + identifier);
  if (identifier === 'quit') mainContext.stop();
}, OnMenuItem);

const glib = koffi.load('libglib-2.0.so.0');
glib.func('g_set_prgname', 'void', ['const char *'])('quill-example-node'); // panels remember the item by it
glib.func('g_set_application_name', 'void', ['const char *'])('Quill in Node'); // what users read
mainContext.start(); // runs GLib's main context: without this line no icon would ever come
tray.setMenuItemsJson(
  JSON.stringify([
    { id: 'open', title: 'Open', keyEquivalent: 'Cmd+O' },
    { id: 'sync', title: 'Synchronizing…', enabled: false },
    { id: 'quit', title: 'Quit', keyEquivalent: 'Cmd+Q' },
  ]),
);
tray.setClickCallback(onClick);
tray.setMenuItemCallback(onMenuItem);
tray.create();
const icon = png(hexagon);
tray.setMainIcon(icon, icon.length);
