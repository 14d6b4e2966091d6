// The same item by Qt's QSystemTrayIcon.
#include <QAction>
#include <QApplication>
#include <QIcon>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>
#include <QSocketNotifier>
#include <QSystemTrayIcon>
#include <QTimer>
#include <vector>

#include "item.h"

namespace {

class Item {
 public:
  Item(int size, const char* directory)
      : size_(size), directory_(directory), input_(STDIN_FILENO, QSocketNotifier::Read) {
    addFrames(1);
    first_.addAction(QStringLiteral("Quit"));
    icon_.setContextMenu(&first_);
    icon_.setIcon(frames_[0]);
    icon_.show();
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setInterval(kTick);
    QObject::connect(&timer_, &QTimer::timeout, [this] { tick(); });
    QObject::connect(&input_, &QSocketNotifier::activated, [this] { obey(readCommand()); });
  }

 private:
  void addFrames(std::size_t count) {
    while (frames_.size() < count) {
      QIcon& frame = frames_.emplace_back();
      for (const int side : {22, 44}) {
        char path[512];
        framePath(path, sizeof path, directory_, side, static_cast<int>(frames_.size() % 2));
        if (side <= size_) frame.addPixmap(QPixmap(QString::fromUtf8(path)));
      }
    }
  }

  void obey(const Command& command) {
    if (isNamed(&command, "report")) report();
    if (isNamed(&command, "change")) {
      counted_ = command.count;
      ticks_ = 0;
      addFrames(static_cast<std::size_t>(kTicksBefore + counted_ + kTicksAfter + 1));
      timer_.start();
    }
    if (isNamed(&command, "menu") || isNamed(&command, "keys")) {
      char* const json = menuJson(command.count, isNamed(&command, "keys"));
      report();
      showMenu(json);
      std::free(json);
      QTimer::singleShot(0, done);
    }
  }

  void tick() {
    ++ticks_;
    if (ticks_ == kTicksBefore || ticks_ == kTicksBefore + counted_) report();
    icon_.setIcon(frames_[static_cast<std::size_t>(ticks_)]);
    if (ticks_ < kTicksBefore + counted_ + kTicksAfter) return;
    timer_.stop();
    done();
  }

  void showMenu(const char* json) {
    auto* const menu = new QMenu;
    const auto items = QJsonDocument::fromJson(QByteArray::fromRawData(json, qsizetype(std::strlen(json)))).array();
    for (const auto& value : items) {
      const auto item = value.toObject();
      auto* const action = menu->addAction(item[QLatin1String("title")].toString());
      action->setEnabled(item[QLatin1String("enabled")].toBool());
      if (item.contains(QLatin1String("keyEquivalent")))
        action->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+K")));
      QObject::connect(action, &QAction::triggered, [id = item[QLatin1String("id")].toString()] { qInfo() << id; });
    }
    icon_.setContextMenu(menu);
  }

  int size_;
  const char* directory_;
  std::vector<QIcon> frames_;  // the first is the one on show
  QMenu first_;
  QSystemTrayIcon icon_;
  QTimer timer_;
  QSocketNotifier input_;
  int counted_ = 0;
  int ticks_ = 0;
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  QApplication application(count, arguments);
  QApplication::setQuitOnLastWindowClosed(false);
  const Item item(std::atoi(arguments[1]), arguments[2]);
  return QApplication::exec();
}
