#include "workbench/inspectiondata/creation/KilometrePosts.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

constexpr double kMetresPerKilometre = 1000.0;

/// A post where it stands along the line.
struct StandingPost {
    const KilometrePost* post = nullptr;
    double along = 0.0;
    double offset = HUGE_VAL;
};

double length(const LineVertex& a, const LineVertex& b) {
    return std::hypot(b.x - a.x, b.y - a.y);
}

StandingPost standing(const KilometrePost& post, const LinePart& line) {
    StandingPost nearest{&post};
    double passed = 0.0;
    for (std::size_t i = 0; i + 1 < line.size(); ++i) {
        const LineVertex& a = line[i];
        const LineVertex& b = line[i + 1];
        const double segment = length(a, b);
        const double dot = (post.x - a.x) * (b.x - a.x) + (post.y - a.y) * (b.y - a.y);
        const double share = std::clamp(dot / (segment * segment), 0.0, 1.0);
        const LineVertex foot{a.x + share * (b.x - a.x), a.y + share * (b.y - a.y), 0.0};
        const double offset = std::hypot(post.x - foot.x, post.y - foot.y);
        if (offset < nearest.offset) {
            nearest = {&post, passed + share * segment, offset};
        }
        passed += segment;
    }
    return nearest;
}

Unexpected refused(const KilometrePost& post, const QString& cause, const QString& userCause) {
    return Unexpected(Failure{QStringLiteral("kilometre post %1 %2").arg(post.name, cause),
                              QStringLiteral("里程桩“%1”%2").arg(post.name, userCause)});
}

std::vector<StandingPost> standingPosts(const std::vector<KilometrePost>& posts, const LinePart& line) {
    std::vector<StandingPost> all;
    for (const KilometrePost& post : posts) {
        all.push_back(standing(post, line));
    }
    std::sort(all.begin(), all.end(),
              [](const StandingPost& a, const StandingPost& b) { return a.along < b.along; });
    return all;
}

bool falls(const std::vector<StandingPost>& posts) {
    return posts.front().post->chainageMetres > posts.back().post->chainageMetres;
}

Status checkOrder(const std::vector<StandingPost>& posts, double farthestMetres) {
    for (std::size_t i = 0; i < posts.size(); ++i) {
        const KilometrePost& post = *posts[i].post;
        if (posts[i].offset > farthestMetres) {
            const QString far = QString::number(posts[i].offset, 'f', 0);
            return refused(post, QStringLiteral("is %1 m from the centre line").arg(far),
                           QStringLiteral("距中心线 %1 m").arg(far));
        }
        if (i > 0 && (posts[i - 1].along >= posts[i].along ||
                      posts[i - 1].post->chainageMetres >= post.chainageMetres)) {
            const QString& before = posts[i - 1].post->name;
            return refused(post, QStringLiteral("does not rise from %1 along the line").arg(before),
                           QStringLiteral("的里程没有从“%1”沿管线递增").arg(before));
        }
    }
    return {};
}

/// The chainage at a length along the line.
double chainageAt(const std::vector<StandingPost>& posts, double along) {
    const auto next = std::find_if(posts.begin(), posts.end(),
                                   [along](const StandingPost& post) { return post.along >= along; });
    if (next == posts.begin()) {
        return next->post->chainageMetres - (next->along - along);
    }
    const StandingPost& before = *std::prev(next);
    if (next == posts.end()) {
        return before.post->chainageMetres + (along - before.along);
    }
    const double share = (along - before.along) / (next->along - before.along);
    return before.post->chainageMetres + share * (next->post->chainageMetres - before.post->chainageMetres);
}

/// The posts between two vertices, as vertices.
void addPostsBetween(const LineVertex& a, const LineVertex& b, double passed,
                     const std::vector<StandingPost>& posts, std::vector<PipeVertex>& vertices) {
    const double segment = length(a, b);
    for (const StandingPost& post : posts) {
        const double share = (post.along - passed) / segment;
        if (share > 0.0 && share < 1.0) {
            vertices.push_back({a.x + share * (b.x - a.x), a.y + share * (b.y - a.y),
                                a.z + share * (b.z - a.z), post.post->chainageMetres});
        }
    }
}

} // namespace

std::optional<double> chainageOf(const QString& text) {
    static const QRegularExpression stake(
        QStringLiteral("^[Kk]?\\s*(\\d+)\\s*\\+\\s*(\\d{1,3}(?:\\.\\d+)?)$"));
    const auto match = stake.match(text.trimmed());
    if (match.hasMatch()) {
        return match.captured(1).toDouble() * kMetresPerKilometre + match.captured(2).toDouble();
    }
    QString number = text.trimmed();
    if (number.startsWith('K', Qt::CaseInsensitive)) {
        number.remove(0, 1);
    }
    bool good = false;
    const double kilometres = number.toDouble(&good);
    return good && std::isfinite(kilometres) ? std::optional(kilometres * kMetresPerKilometre) : std::nullopt;
}

std::vector<PipeVertex> chainagesFrom(const LinePart& line, double startMetres) {
    std::vector<PipeVertex> vertices;
    double chainage = startMetres;
    for (std::size_t i = 0; i < line.size(); ++i) {
        chainage += i == 0 ? 0.0 : length(line[i - 1], line[i]);
        vertices.push_back({line[i].x, line[i].y, line[i].z, chainage});
    }
    return vertices;
}

Result<std::vector<PipeVertex>> chainagesBy(const std::vector<KilometrePost>& posts, LinePart line,
                                            double farthestMetres) {
    if (posts.size() < 2) {
        return Unexpected(
            Failure{QStringLiteral("fewer than two kilometre posts"), QStringLiteral("里程桩少于两个")});
    }
    std::vector<StandingPost> standing = standingPosts(posts, line);
    if (falls(standing)) {
        std::reverse(line.begin(), line.end());
        standing = standingPosts(posts, line);
    }
    if (auto done = checkOrder(standing, farthestMetres); !done) {
        return failed(done);
    }
    std::vector<PipeVertex> vertices;
    double passed = 0.0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        vertices.push_back({line[i].x, line[i].y, line[i].z, chainageAt(standing, passed)});
        if (i + 1 < line.size()) {
            addPostsBetween(line[i], line[i + 1], passed, standing, vertices);
            passed += length(line[i], line[i + 1]);
        }
    }
    return vertices;
}

} // namespace inspection
