#include "LucideIcon.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <optional>
#include <vector>

namespace {

enum class Role { Stroke, Fill, Cut, CutFilled };

Role roleAt(std::string_view parts, std::size_t index) {
    if (index >= parts.size())
        return Role::Stroke;
    switch (parts[index]) {
    case 'F':
        return Role::Fill;
    case 'C':
        return Role::Cut;
    case 'X':
        return Role::CutFilled;
    default:
        return Role::Stroke;
    }
}

// One top-level element of the icon, written out again with its colours made explicit: QtSvg
// knows no `currentColor` and would draw it black only by accident.
struct Element {
    Role role;
    QString xml;
};

struct Icon {
    // The root element's start tag, complete with '>'.
    QString rootStart;
    std::vector<Element> elements;
};

QString blackFor(const QXmlStreamAttribute& attribute) {
    return attribute.value() == QLatin1String("currentColor") ? QStringLiteral("#000000")
                                                              : attribute.value().toString();
}

void writeAttributes(QXmlStreamWriter& out, const QXmlStreamAttributes& attributes, bool filled) {
    for (const QXmlStreamAttribute& a : attributes) {
        if (a.name() == QLatin1String("class") || (filled && a.name() == QLatin1String("fill")))
            continue;
        out.writeAttribute(a.name().toString(), blackFor(a));
    }
    if (filled)
        out.writeAttribute(QStringLiteral("fill"), QStringLiteral("#000000"));
}

std::optional<Icon> parse(const QByteArray& svg, std::string_view parts) {
    QXmlStreamReader in(svg);
    Icon icon;
    int depth = 0;
    QString current;
    std::optional<QXmlStreamWriter> out;
    while (!in.atEnd()) {
        const auto token = in.readNext();
        if (token == QXmlStreamReader::StartElement) {
            ++depth;
            if (depth == 1) {
                QXmlStreamWriter root(&icon.rootStart);
                root.writeStartElement(QStringLiteral("svg"));
                writeAttributes(root, in.attributes(), false);
                root.writeCharacters({}); // closes the start tag
            } else if (depth == 2) {
                const Role role = roleAt(parts, icon.elements.size());
                current.clear();
                out.emplace(&current);
                out->writeStartElement(in.name().toString());
                writeAttributes(*out, in.attributes(),
                                role == Role::Fill || role == Role::CutFilled);
                icon.elements.push_back({role, {}});
            } else {
                out->writeCurrentToken(in);
            }
        } else if (token == QXmlStreamReader::EndElement) {
            if (depth == 2) {
                out->writeEndElement();
                out.reset();
                icon.elements.back().xml = current;
            } else if (depth > 2) {
                out->writeCurrentToken(in);
            }
            --depth;
        } else if (depth > 2 && token == QXmlStreamReader::Characters) {
            out->writeCurrentToken(in);
        }
    }
    if (in.hasError() || icon.elements.empty())
        return std::nullopt;
    return icon;
}

// The icon with only the elements `wanted` picks, as an SVG document of its own.
template <typename Wanted> QByteArray document(const Icon& icon, Wanted wanted) {
    QString text = icon.rootStart;
    for (const Element& element : icon.elements)
        if (wanted(element.role))
            text += element.xml;
    text += QLatin1String("</svg>");
    return text.toUtf8();
}

void draw(QPainter& painter, const QByteArray& svg, const QRectF& target) {
    QSvgRenderer renderer(svg);
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    renderer.render(&painter, target);
}

} // namespace

QImage renderLucideIcon(const QString& resourcePath, std::string_view parts, QSize pixelSize) {
    QFile file(resourcePath);
    if (pixelSize.isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    const std::optional<Icon> icon = parse(file.readAll(), parts);
    if (!icon)
        return {};

    QImage image(pixelSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const int side = std::min(pixelSize.width(), pixelSize.height());
    const QRectF target((pixelSize.width() - side) / 2.0, (pixelSize.height() - side) / 2.0, side,
                        side);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter, document(*icon, [](Role r) { return r == Role::Stroke || r == Role::Fill; }),
         target);
    const auto isCut = [](Role r) { return r == Role::Cut || r == Role::CutFilled; };
    if (std::any_of(icon->elements.begin(), icon->elements.end(),
                    [&](const Element& e) { return isCut(e.role); })) {
        painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
        draw(painter, document(*icon, isCut), target);
    }
    return image;
}
