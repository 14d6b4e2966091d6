import com.sun.jna.Callback;
import com.sun.jna.Library;
import com.sun.jna.Native;
import com.sun.jna.Pointer;
import java.awt.BasicStroke;
import java.awt.RenderingHints;
import java.awt.image.BufferedImage;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.util.Map;
import javax.imageio.ImageIO;

/**
 * A host in Java, by JNA: an icon in the tray with a menu, and a line on standard output for whatever the user does.
 *
 * <pre>java -cp /usr/share/java/jna.jar Main.java</pre>
 *
 * The thread that calls the library runs GLib's main loop. It need not be the process's first thread, which a JVM keeps
 * for itself. A host with a window uses a thread of its own for this, and its callbacks end in
 * {@code SwingUtilities.invokeLater}.
 *
 * <p>The loader has to find libquill_tray_manager.so.1: install it, or name its directory in LD_LIBRARY_PATH.
 */
public final class Main {
  interface OnClick extends Callback {
    void invoke();
  }

  interface OnMenuItem extends Callback {
    void invoke(String identifier);
  }

  interface Tray extends Library {
    void quill_tray_manager_create();

    void quill_tray_manager_set_main_icon(byte[] data, long length);

    void quill_tray_manager_add_animation_frame(byte[] data, long length);

    void quill_tray_manager_start_animation();

    void quill_tray_manager_set_menu_items_json(String items);

    void quill_tray_manager_set_click_callback(OnClick callback);

    void quill_tray_manager_set_menu_item_callback(OnMenuItem callback);
  }

  interface Glib extends Library {
    void g_set_prgname(String name);

    void g_set_application_name(String name);

    Pointer g_main_loop_new(Pointer context, int isRunning);

    void g_main_loop_run(Pointer loop);

    void g_main_loop_quit(Pointer loop);
  }

  private static final Map<String, Object> OPTIONS = Map.of(Library.OPTION_STRING_ENCODING, "UTF-8");
  private static final Tray TRAY = Native.load("libquill_tray_manager.so.1", Tray.class, OPTIONS);
  private static final Glib GLIB = Native.load("libglib-2.0.so.0", Glib.class, OPTIONS);
  private static final Pointer LOOP = GLIB.g_main_loop_new(null, 0);

  // JNA frees a callback that nothing in Java refers to.
  private static final OnClick ON_CLICK = () -> {
    System.out.println("clicked");
    TRAY.quill_tray_manager_start_animation();
  };
  private static final OnMenuItem ON_MENU_ITEM = identifier -> {
    System.out.println("chosen: " + identifier);
    if (identifier.equals("quit")) GLIB.g_main_loop_quit(LOOP);
  };

  private static final String ITEMS = """
      [{"id": "open", "title": "Open", "keyEquivalent": "Cmd+O"},
       {"id": "quit", "title": "Quit", "keyEquivalent": "Cmd+Q"}]""";

  /** A PNG of 44 by 44 pixels, 22 points at twice the density: a ring, open by 90 degrees from {@code start} on. */
  private static byte[] ring(int start) throws IOException {
    var picture = new BufferedImage(44, 44, BufferedImage.TYPE_INT_ARGB);
    var pen = picture.createGraphics();
    pen.setRenderingHint(RenderingHints.KEY_ANTIALIASING, RenderingHints.VALUE_ANTIALIAS_ON);
    pen.setColor(java.awt.Color.BLACK);
    pen.setStroke(new BasicStroke(6));
    pen.drawArc(9, 9, 26, 26, start + 90, 270);
    pen.dispose();
    var bytes = new ByteArrayOutputStream();
    ImageIO.write(picture, "png", bytes);
    return bytes.toByteArray();
  }

  public static void main(String[] arguments) throws IOException {
    for (int turn = 0; turn < 360; turn += 30) {
      var frame = ring(-turn);
      TRAY.quill_tray_manager_add_animation_frame(frame, frame.length);
    }
    GLIB.g_set_prgname("quill-example-java"); // otherwise "java", as every such host
    GLIB.g_set_application_name("Quill in Java");
    TRAY.quill_tray_manager_set_menu_items_json(ITEMS);
    TRAY.quill_tray_manager_set_click_callback(ON_CLICK);
    TRAY.quill_tray_manager_set_menu_item_callback(ON_MENU_ITEM);
    TRAY.quill_tray_manager_create();
    var icon = ring(0);
    TRAY.quill_tray_manager_set_main_icon(icon, icon.length);
    GLIB.g_main_loop_run(LOOP);
  }
}
