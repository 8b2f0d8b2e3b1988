#include "CommandLine.h"

#include <QCommandLineParser>

namespace {

using Command = ControlRequest::Command;

constexpr const char* kHelp = R"(Aufruf: brivello [OPTION]

Spielt den Ton des Rechners auf mehreren Ausgabegeräten zugleich. Ohne Option startet
Brivello, oder das Fenster des laufenden Brivello kommt nach vorn: je Benutzer läuft
nur ein Brivello, ein zweiter Start gibt seinen Auftrag an das laufende weiter.

Optionen:
  --zone NAME    die Zone NAME (Name oder ID) einschalten, oder ausschalten, wenn sie
                 gerade aktiv ist – wie ihr Tastaturkürzel
  --on NAME      die Zone NAME einschalten; ist sie schon aktiv, bleibt sie es
  --off          ausschalten; ist nichts aktiv, bleibt es so
  --list         die Zonen, eine pro Zeile: aktiv (*), Name, Geräte, Kürzel
  --devices      die Ausgabegeräte mit ihren UIDs
  --status       ob Brivello aktiv ist, mit welcher Zone und welchen Geräten
  --json         --list, --devices und --status als JSON ausgeben
  --quit         Brivello beenden; die vorige Ausgabe kommt zurück
  --hintergrund  starten, ohne das Fenster zu zeigen
  -h, --help     diese Hilfe
  -v, --version  die Version

Läuft Brivello noch nicht, starten --zone und --on es im Hintergrund und führen den
Befehl dann aus; die anderen Befehle enden mit Exit-Code 3.

Exit-Codes:
  0  erledigt
  1  die Zone ist unbekannt, oder keines ihrer Geräte ist angeschlossen
  2  falscher Aufruf
  3  Brivello läuft nicht
  4  das Tonsystem hat nicht umgeschaltet
)";

CommandLine usageError(const QString& message) {
    CommandLine line;
    line.answer =
        ControlReply{ExitCode::usage,
                     {},
                     "brivello: " + message.toStdString() + "\nMehr mit „brivello --help“.\n"};
    return line;
}

} // namespace

CommandLine parseCommandLine(const QStringList& arguments, const QString& version) {
    QCommandLineParser parser;
    // "-zone" is read as "--zone", not as four one-letter options.
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption zone(QStringLiteral("zone"), {}, QStringLiteral("NAME"));
    const QCommandLineOption on(QStringLiteral("on"), {}, QStringLiteral("NAME"));
    const QCommandLineOption off(QStringLiteral("off"));
    const QCommandLineOption list(QStringLiteral("list"));
    const QCommandLineOption devices(QStringLiteral("devices"));
    const QCommandLineOption status(QStringLiteral("status"));
    const QCommandLineOption json(QStringLiteral("json"));
    const QCommandLineOption quit(QStringLiteral("quit"));
    const QCommandLineOption background(QStringLiteral("hintergrund"));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")});
    const QCommandLineOption showVersion(
        QStringList{QStringLiteral("v"), QStringLiteral("version")});
    parser.addOptions(
        {zone, on, off, list, devices, status, json, quit, background, help, showVersion});

    if (!parser.parse(arguments)) {
        if (!parser.unknownOptionNames().isEmpty()) {
            const QString name = parser.unknownOptionNames().first();
            return usageError(QStringLiteral("unbekannte Option „%1%2“.")
                                  .arg(name.size() == 1 ? "-" : "--", name));
        }
        // The only other refusal: --zone or --on as the last argument, without its name.
        return usageError(
            QStringLiteral("nach „%1“ fehlt der Name der Zone.").arg(arguments.last()));
    }
    CommandLine line;
    if (parser.isSet(help)) {
        line.answer = ControlReply{ExitCode::done, kHelp, {}};
        return line;
    }
    if (parser.isSet(showVersion)) {
        line.answer = ControlReply{ExitCode::done, "Brivello " + version.toStdString() + "\n", {}};
        return line;
    }
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("unerwartetes Argument „%1“.")
                              .arg(parser.positionalArguments().first()));

    const std::pair<const QCommandLineOption*, Command> commands[] = {
        {&zone, Command::zone}, {&on, Command::on},           {&off, Command::off},
        {&list, Command::list}, {&devices, Command::devices}, {&status, Command::status},
        {&quit, Command::quit}};
    // A repeated --zone or --on counts as often as it is given.
    qsizetype given = 0;
    for (const auto& [option, command] : commands)
        given += option->valueName().isEmpty() ? qsizetype(parser.isSet(*option))
                                               : parser.values(*option).size();
    if (given > 1)
        return usageError(QStringLiteral("nur ein Befehl auf einmal."));
    for (const auto& [option, command] : commands)
        if (parser.isSet(*option))
            line.request.command = command;

    const Command command = line.request.command;
    if (command == Command::zone || command == Command::on) {
        const QString name = parser.value(command == Command::zone ? zone : on);
        if (name.trimmed().isEmpty())
            return usageError(QStringLiteral("der Name der Zone ist leer."));
        line.request.zone = name.toStdString();
    }
    if (parser.isSet(json)) {
        if (command != Command::list && command != Command::devices && command != Command::status)
            return usageError(
                QStringLiteral("--json gilt nur mit --list, --devices oder --status."));
        line.request.json = true;
    }
    if (parser.isSet(background)) {
        if (command != Command::raise)
            return usageError(QStringLiteral("--hintergrund gilt nur ohne Befehl."));
        line.background = true;
    }
    return line;
}
