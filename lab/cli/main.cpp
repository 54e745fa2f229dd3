#include "lab/cli/Console.h"
#include "lab/cli/ControlSocket.h"
#include "lab/cli/DayStory.h"
#include "lab/cli/Demo.h"
#include "lab/cli/Interrupt.h"
#include "lab/cli/Options.h"
#include "lab/cli/WorldControl.h"
#include "lab/cli/WorldExec.h"
#include "lab/world/Sandbox.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <cstdio>
#include <cstdlib>
#include <limits>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;

constexpr int usageStatus = 2;
constexpr std::chrono::milliseconds forever{std::numeric_limits<int>::max()};

int say(const QString& text, int status) {
  std::fputs(qPrintable(text), status == EXIT_SUCCESS ? stdout : stderr);
  return status;
}

/// Paths of the programs that take part.
struct Programs {
  QString lab;
  QString zolvex;
};

/// Where this program is. Asked before the sandbox is entered: in the namespaces of a chroot the kernel may name it by
/// a path from outside.
QString ownPath() {
  return QFileInfo(u"/proc/self/exe"_s).symLinkTarget();
}

/// The program beside this one, as installed, or else where the build puts it.
QString findZolvex(const QString& asked, const QString& program) {
  if (!asked.isEmpty()) return QFileInfo(asked).absoluteFilePath();
  const auto here = QFileInfo(program).dir();
  for (const auto& place : {u"zolvex"_s, u"../src/app/zolvex"_s, u"../bin/zolvex"_s})
    if (QFileInfo(here.filePath(place)).isExecutable()) return QDir::cleanPath(here.filePath(place));
  return {};
}

WorldOptions worldOptionsOf(const Options& options, const QString& zolvex) {
  static const QStringList names{u"Studio"_s, u"Laptop"_s, u"Kitchen"_s, u"Attic"_s};
  WorldOptions world;
  world.computers = names.first(options.computers);
  world.zolvex = zolvex;
  world.timing.latency = options.latency;
  world.transport = options.transport;
  world.isAutomatic = options.isAutomatic || options.story == Options::Story::day;
  return world;
}

/// Beside Zolvex, as installed, or where the build puts it, or else on the path.
QString findZolvexctl(const QString& zolvex) {
  const auto here = QFileInfo(zolvex).dir();
  for (const auto& place : {u"zolvexctl"_s, u"../control/zolvexctl"_s})
    if (QFileInfo(here.filePath(place)).isExecutable()) return QDir::cleanPath(here.filePath(place));
  return u"zolvexctl"_s;
}

/// As a shell takes it for one word.
QString quoted(const QString& path) {
  static const QRegularExpression plain(QRegularExpression::anchoredPattern(u"[\\w./+:@%,-]+"_s));
  if (plain.match(path).hasMatch()) return path;
  return u'\'' + QString(path).replace(u'\'', u"'\\''"_s) + u'\'';
}

void explainHowToLookIn(const World& world, const Programs& programs) {
  const auto lab = quoted(programs.lab);
  const auto control = quoted(findZolvexctl(programs.zolvex));
  say(u"\nThe world stays until Ctrl-C. From another terminal:\n"_s, EXIT_SUCCESS);
  for (const auto& desktop : world.desktops())
    for (const auto* command : {"status", "switch --wait", "watch"})
      say(u"  %1 exec --world %2 %3 -- %4 %5\n"_s.arg(lab, QString::fromStdString(Sandbox::outerProcessId()),
                                                      desktop->name(), control, QLatin1String(command)),
          EXIT_SUCCESS);
  for (const auto* act : {"lock", "unlock", "sleep", "wake"})
    say(u"  %1 ctl --world %2 Laptop %3\n"_s.arg(lab, QString::fromStdString(Sandbox::outerProcessId()),
                                                 QLatin1String(act)),
        EXIT_SUCCESS);
  say(u"\n"_s, EXIT_SUCCESS);
  std::fflush(stdout);
}

void stay(World& world, Report& report, const Programs& programs) {
  Commands commands(world);
  const Console console(commands, report);
  ControlSocket control(commands);
  if (!control.listen()) report.print(u"lab"_s, u"zolvex-lab ctl will not work: no socket"_s);
  explainHowToLookIn(world, programs);
  world.waitUntil([] { return false; }, forever);
}

PlayResult play(World& world, Report& report, const Options& options) {
  const auto isDay = options.story == Options::Story::day;
  if (!world.start()) {
    const auto reason = world.isInterrupted() ? u"interrupted"_s : u"there is no world: "_s + world.errorString();
    return {false, u"%1: %2"_s.arg(isDay ? u"day"_s : u"demo"_s, reason)};
  }
  return isDay ? DayStory(world, report).play(options.faults) : Demo(world, report).play(options.faults);
}

int runDemo(World& world, Report& report, const Options& options, const Programs& programs) {
  const auto result = play(world, report, options);
  const auto stays = options.keep && !world.isInterrupted();
  if (stays) {
    say(result.text + u'\n', EXIT_SUCCESS);
    stay(world, report, programs);
  }
  world.stop();
  if (!stays) say(result.text + u'\n', EXIT_SUCCESS);
  return result.isSuccess ? EXIT_SUCCESS : EXIT_FAILURE;
}

int runWorld(World& world, Report& report, const Options& options, const Programs& programs) {
  for (const auto& fault : options.faults) world.radio().inject(fault);
  if (!world.start() || !world.startZolvex()) {
    if (!world.isInterrupted()) return say(u"zolvex-lab: %1\n"_s.arg(world.errorString()), EXIT_FAILURE);
  } else {
    world.giveDevicesTo(u"Laptop"_s);
    stay(world, report, programs);
  }
  world.stop();
  return EXIT_SUCCESS;
}

int runInSandbox(int argc, char** argv, const Options& options, const QString& lab) {
  QCoreApplication application(argc, argv);
  const Programs programs{lab, findZolvex(options.zolvex, lab)};
  if (!QFileInfo(programs.zolvex).isExecutable())
    return say(
        u"zolvex-lab: there is no program zolvex %1\nBuild it, or name it with --zolvex PATH.\n"_s.arg(programs.zolvex),
        usageStatus);
  World world(worldOptionsOf(options, programs.zolvex));
  for (const auto& fault : options.faults)
    if (const auto problem = world.problemWith(fault); !problem.isEmpty())
      return say(u"zolvex-lab: --fault: %1\n"_s.arg(problem), usageStatus);
  Report report;
  report.follow(world);
  Interrupt interrupt;
  QObject::connect(&interrupt, &Interrupt::raised, &world, &World::interrupt);
  return options.command == Options::Command::demo ? runDemo(world, report, options, programs)
                                                   : runWorld(world, report, options, programs);
}

int run(int argc, char** argv) {
  QStringList arguments;
  for (int i = 1; i < argc; ++i) arguments.append(QString::fromLocal8Bit(argv[i]));
  const auto parsed = Options::parse(arguments);
  if (const auto* error = std::get_if<Options::UsageError>(&parsed))
    return say(u"zolvex-lab: %1\n"_s.arg(error->text), usageStatus);
  const auto& options = std::get<Options>(parsed);
  if (options.command == Options::Command::help) return say(usageText(), EXIT_SUCCESS);
  if (options.command == Options::Command::listFaults) return say(faultListText(), EXIT_SUCCESS);
  if (options.command == Options::Command::exec) return execInWorld(options);
  if (options.command == Options::Command::ctl) return controlWorld(options);
  const auto lab = ownPath();
  const auto entered = Sandbox::enter();
  if (const auto* ended = std::get_if<Sandbox::Ended>(&entered)) return ended->exitStatus;
  if (const auto* impossible = std::get_if<Sandbox::Impossible>(&entered))
    return say(QString::fromStdString(impossible->reason) + u'\n', EXIT_FAILURE);
  return runInSandbox(argc, argv, options, lab);
}

/// `status`, unless what was printed could not be written.
int withOutputWritten(int status) {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return status;
  std::fputs("zolvex-lab: cannot write the output\n", stderr);
  return status == EXIT_SUCCESS ? EXIT_FAILURE : status;
}

}  // namespace
}  // namespace zolvex::lab

int main(int argc, char** argv) {
  return zolvex::lab::withOutputWritten(zolvex::lab::run(argc, argv));
}
