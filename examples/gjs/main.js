// A host in JavaScript for GJS, by the typelib. Node has an example of its own, ../node/main.js.
imports.gi.versions.QuillTrayManager = '1.0';
const { GLib, QuillTrayManager: Tray } = imports.gi;

const ICON =
  'iVBORw0KGgoAAAANSUhEUgAAACwAAAAsAQMAAAAkSshCAAAABlBMVEUAAAAAAAClZ7nPAAAAAnRSTlMA/1uR' +
  'IrUAAABcSURBVHjaY2AgHrD//wei5P//bwBS9v//HwBS9f//PwBS/////8DAwAikfsApZiD1B0Q1yIMpBn4Q' +
  '9Y+BHUT9ASGKKahhUKNhFoGtRXUL1IEw50IdD/UK1GPEAgBJYlbp/OC8hQAAAABJRU5ErkJggg==';
const ITEMS = [
  { id: 'open', title: 'Open', keyEquivalent: 'Cmd+O' },
  { id: 'quit', title: 'Quit', keyEquivalent: 'Cmd+Q' },
];
const SIGTERM = 15;

const loop = GLib.MainLoop.new(null, false);

function onMenuItem(identifier) {
  print(`chosen: ${identifier}`);
  if (identifier === 'quit') loop.quit();
}

GLib.set_prgname('quill-example-gjs');
Tray.set_menu_items_json(JSON.stringify(ITEMS));
Tray.set_click_callback(() => print('clicked'));
Tray.set_menu_item_callback(onMenuItem);
Tray.create();
Tray.set_main_icon(GLib.base64_decode(ICON));
GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, SIGTERM, () => loop.quit());
loop.run();
