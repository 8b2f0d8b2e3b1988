#include "CommandLine.h"

#include <gtest/gtest.h>

// What a shell may type: each command alone, names as typed, and every mistake a usage error (2)
// in German that changes nothing.
TEST(CommandLine, CommandsAreReadAsTypedAndMistakesAreUsageErrors) {
    const auto parse = [](QStringList arguments) {
        arguments.prepend(QStringLiteral("brivello"));
        return parseCommandLine(arguments, QStringLiteral("1.2"));
    };
    using Command = ControlRequest::Command;

    EXPECT_EQ(parse({}).request.command, Command::raise);
    EXPECT_FALSE(parse({}).answer);
    EXPECT_TRUE(parse({"--hintergrund"}).background);
    EXPECT_EQ(parse({"--zone", "Büro \"Eck\""}).request,
              (ControlRequest{Command::zone, "Büro \"Eck\"", false}));
    EXPECT_EQ(parse({"--on=Küche"}).request, (ControlRequest{Command::on, "Küche", false}));
    EXPECT_EQ(parse({"-status", "--json"}).request, (ControlRequest{Command::status, {}, true}));
    EXPECT_EQ(parse({"--version"}).answer->out, "Brivello 1.2\n");
    EXPECT_EQ(parse({"-h"}).answer->exitCode, 0);
    EXPECT_NE(parse({"--help"}).answer->out.find("Exit-Codes"), std::string::npos);

    const auto usage = [&](const QStringList& arguments) {
        const auto line = parse(arguments);
        return line.answer && line.answer->exitCode == ExitCode::usage && line.answer->out.empty()
                   ? line.answer->err
                   : std::string("no usage error");
    };
    EXPECT_EQ(usage({"--lautlos"}), "brivello: unbekannte Option „--lautlos“.\n"
                                    "Mehr mit „brivello --help“.\n");
    EXPECT_EQ(usage({"--zone"}).substr(0, 52), "brivello: nach „--zone“ fehlt der Name der Zone.");
    EXPECT_NE(usage({"--zone", " "}), "no usage error");
    EXPECT_NE(usage({"--on", "A", "--off"}), "no usage error");
    EXPECT_NE(usage({"--zone", "A", "--zone", "B"}), "no usage error");
    EXPECT_NE(usage({"--on", "A", "--json"}), "no usage error");
    EXPECT_NE(usage({"--off", "--hintergrund"}), "no usage error");
    EXPECT_NE(usage({"Büro"}), "no usage error");
}
