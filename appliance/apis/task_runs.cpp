#include <limits>

#include "apis/answer.h"
#include "apis/methods.h"
#include "apis/output_text.h"
#include "store/run_history.h"
#include "store/run_start.h"

namespace kavo {
namespace {

constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kMostRuns = 1000;  // of an answer
constexpr int kUsualRuns = 50;
constexpr std::size_t kPieceBytes = 256 << 10;

template <typename Number>
Json::Value number_or_null(const std::optional<Number>& number) {
  return number ? Json::Value(Json::Int64{*number}) : Json::Value();
}

Json::Value run_json(const Run& run) {
  Json::Value json;
  json["id"] = Json::Int64{run.id};
  json["task"] = run.task_id;
  json["name"] = run.task_name;
  json["cause"] = run.cause;
  json["due"] = number_or_null(run.due);
  json["started"] = number_or_null(run.started);
  json["ended"] = number_or_null(run.ended);
  json["result"] = standing(run);
  json["code"] = number_or_null(run.code);
  json["message"] = run.note.empty() ? Json::Value() : Json::Value(run.note);
  return json;
}

RunFilter filter_of(const KAVO::APIRequest& request) {
  RunFilter filter;
  filter.task_id = integer(request, "task", 1, kMax);
  const auto name = request.GetAndCheckString("result", KAVO::APIRequest::PARAM_OPTIONAL, nullptr);
  if (name.IsInvalid() || (name.IsSet() && !is_standing(name.Get()))) {
    throw WrongParameter("\"result\" is not the name of a result.");
  }
  if (name.IsSet()) {
    filter.standing = name.Get();
  }
  return filter;
}

std::vector<int> task_ids_of(const KAVO::APIRequest& request) {
  const Json::Value tasks = request.GetParam("tasks", Json::Value());
  if (!tasks.isArray() || tasks.size() > kMostRuns) {
    throw WrongParameter("\"tasks\" is not an array of up to " + std::to_string(kMostRuns) +
                         " ids.");
  }
  std::vector<int> ids;
  for (const Json::Value& id : tasks) {
    if (id.type() == Json::realValue || !id.isInt() || id.asInt() < 1) {
      throw WrongParameter("\"tasks\" holds something that is no id.");
    }
    ids.push_back(id.asInt());
  }
  return ids;
}

std::optional<std::int64_t> known_revision(const KAVO::APIRequest& request) {
  const Json::Value revision = request.GetParam("revision", Json::Value());
  if (!revision.isNull() && (revision.type() == Json::realValue || !revision.isInt64())) {
    throw WrongParameter("\"revision\" is not an integer.");
  }
  return revision.isNull() ? std::nullopt : std::optional<std::int64_t>(revision.asInt64());
}

}  // namespace

Json::Value list_runs(const KAVO::APIRequest& request) {
  const Runs found = find_runs(filter_of(request), integer(request, "offset", 0, kMax).value_or(0),
                               integer(request, "limit", 1, kMostRuns).value_or(kUsualRuns));
  Json::Value data;
  data["runs"] = Json::Value(Json::arrayValue);
  for (const Run& run : found.runs) {
    data["runs"].append(run_json(run));
  }
  data["total"] = Json::Int64{found.total};
  data["revision"] = Json::Int64{found.revision};
  return data;
}

Json::Value last_runs(const KAVO::APIRequest& request) {
  const std::vector<int> task_ids = task_ids_of(request);
  const std::optional<std::int64_t> known = known_revision(request);
  const Newest found = newest_runs(task_ids, known);
  Json::Value data;
  data["revision"] = Json::Int64{found.revision};
  data["runs"] = Json::Value(Json::objectValue);
  data["next"] = Json::Value(Json::objectValue);
  if (known == found.revision) {
    return data;
  }
  for (const int id : task_ids) {
    data["runs"][std::to_string(id)] = Json::Value();
    data["next"][std::to_string(id)] = Json::Value();
  }
  for (const Run& run : found.runs) {
    data["runs"][std::to_string(run.task_id)] = run_json(run);
  }
  for (const auto& [id, due] : found.due) {
    data["next"][std::to_string(id)] = Json::Int64{due};
  }
  return data;
}

Json::Value run_output_piece(const KAVO::APIRequest& request) {
  const int id = required_integer(request, "id", 1, kMax);
  const auto offset = static_cast<std::size_t>(integer(request, "offset", 0, kMax).value_or(0));
  const RunOutput output = read_output(id, offset, kPieceBytes);
  const std::size_t start = std::min(offset, output.size);
  const bool last = output.ended && start + output.bytes.size() >= output.size;
  const TextPiece piece = text_of(output.bytes, kPieceBytes, last);
  Json::Value data;
  data["output"] = piece.text;
  data["offset"] = static_cast<Json::Int64>(start + piece.bytes);
  data["size"] = static_cast<Json::Int64>(output.size);
  data["ended"] = output.ended;
  return data;
}

Json::Value stop_one_run(const KAVO::APIRequest& request) {
  stop_run(required_integer(request, "id", 1, kMax));
  return Json::objectValue;
}

}  // namespace kavo
