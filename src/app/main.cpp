#include "app/DocumentWindow.h"
#include "app/VimoApplication.h"

#include <QCommandLineParser>

int main(int argc, char** argv) {
    VimoApplication::prepare();
    VimoApplication app(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Vimo, a painting program."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("files"),
                                 QStringLiteral("Drawings or pictures to open."),
                                 QStringLiteral("[files...]"));
    parser.process(app);

    const QStringList files = parser.positionalArguments();
    for (const QString& f : files) app.openFile(f);
    // A new drawing when nothing was named or nothing could be opened.
    if (files.isEmpty() || !app.hasDocumentWindows()) app.newDocument();
    return app.exec();
}
