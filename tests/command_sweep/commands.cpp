#include "commands.h"

#include <cstdio>

namespace sweep {

const char* const seed = R"({
  "site": {"name": "Here", "automatic_login": "ada"},
  "groups": ["engineering"], "roles": ["designer"],
  "users": [{"id": "ada", "memberships": [{"group": "engineering", "role": "designer"}]}],
  "form_types": [{"name": "Mass", "fields": [
    {"name": "material", "kind": "text", "length": 20}, {"name": "weight", "kind": "real"}]}],
  "dataset_types": [{"name": "Model", "tool": "ImageViewer", "references": [
    {"name": "Part", "files": [{"template": "*.prt", "format": "BINARY"}]}, {"name": "Mass"}]}],
  "view_types": [{"name": "view", "default": true}],
  "revision_rules": [{"name": "Latest", "clauses": ["latest"]}],
  "items": [
    {"id": "P", "name": "Press", "master_form": {"type": "FreigabeInfo"}, "revisions": [
      {"id": "A", "statuses": ["Released"],
       "master_form": {"type": "Mass", "values": {"material": "steel"}}, "datasets": [
        {"name": "Front", "type": "Image",
         "files": [{"reference": "Image", "path": "front.png"}]},
        {"name": "Frame", "type": "Model",
         "forms": [{"reference": "Mass", "type": "Mass"}]}]}]},
    {"id": "Q", "name": "Plate", "revisions": [{"id": "A"}]},
    {"id": "R", "name": "Rod", "revisions": [{"id": "A"}]}],
  "structures": [
    {"item": "P", "revision": "A", "lines": [
      {"item": "Q", "sequence": 20}, {"item": "R", "sequence": 30}, {"item": "R", "sequence": 30}]},
    {"item": "Q", "revision": "A", "lines": [{"item": "R", "sequence": 7}]}],
  "preferences": {
    "FLColumnCatIVFSeparatorPref": "/", "WsoInsertNoSelectionsPref": "1",
    "ZOLP_clonelogheader": {"file": "header.txt"},
    "VPD_clone_itemtemplate": {"file": "clone.txt"},
    "VPD_retain_itemtemplate": {"file": "retain.txt"},
    "ZOLP_qnversion": "v16", "ZOLP_qnclone_prg": "cloner", "ZOLP_clonelogfile": "clone_log.txt",
    "ZOLP_precloneactionfile": {"file": "pre.txt"},
    "ZOLP_postcloneactionsfile": {"file": "post.txt"}},
  "process_templates": [
    {"name": "Release",
     "handlers": [{"on": "complete", "name": "set-release-status", "arguments": ["status=OK"]}],
     "tasks": [
       {"name": "Check", "type": "review", "signoffs": [
         {"user": "ada"}, {"pool": {"group": "engineering"}}]},
       {"name": "Large?", "type": "condition", "branches": [
         {"result": true, "tasks": [{"name": "Inform"}]}]}]},
    {"name": "Decided", "tasks": [
      {"name": "Decide", "handlers": [{"on": "start", "name": "do-nothing"}]},
      {"name": "Large?", "type": "condition"}]}]})";

namespace {

/** A line of a release list. */
std::string row(const std::string& level, const std::string& item, const std::string& dataset,
                const std::string& type, const std::string& new_item, const std::string& status) {
  char line[400];
  std::snprintf(line, sizeof line,
                "%-6.6s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;"
                "%-32.32s\n",
                level.c_str(), item.c_str(), dataset.c_str(), type.c_str(), new_item.c_str(), "",
                "", status.c_str(), "", "");
  return line;
}

std::string release_list() {
  return row("Level", "Item Revision", "Datasets", "Type", "New Item ID", "Rel-Status") +
         row("1", "TOP/A", "", "", "N-TOP/B", "") + row("", "", "a", "QNMASTER", "", "") +
         row("2", "KEPT/A", "", "", "", "Released") + row("2", "NEW/A", "", "", "N-NEW/B", "");
}

}  // namespace

std::vector<File> files() {
  return {{"front.png", std::string(100000, 'f')},  // more than is printed at once
          {"report.txt", "one\ntwo\n"},
          {"body.prt", "solid"},
          {"header.txt", "%%DEFAULT_CONTAINER%% %%OUTPUTASSY_ID%%\n"},
          {"clone.txt", "C %%ITEM_ID%% %%NEW_ID%%\n"},
          {"retain.txt", "R %%ITEM_ID%%\n"},
          {"pre.txt", "before\n"},
          {"post.txt", "after\n"},
          {"items.txt", "1     PRESS\n2     ROD\n"},
          {"list.txt", release_list()},
          {"run.trace", " ->work work.cpp:1\n <-work work.cpp:9\n"}};
}

const std::vector<Command>& commands() {
  const Arguments start = {"job", "start", "Release", "--name", "J", "--target", "P/A"};
  const Arguments approve = {"job", "signoff", "J", "--decision", "approve"};
  const Arguments stopped = {"job", "start", "Decided", "--name", "J", "--target", "P/A"};
  static const std::vector<Command> all = {
    {{"bom", "tree", "P/A", "--rule", "Latest", "--view", "view"}},
    {{"bom", "tree", "P/A", "--mermaid"}},
    {{"bom", "size", "P/A"}},
    {{"bom", "resequence", "P/A", "--recursive"}},
    {{"bom", "resequence", "P/A", "--recursive", "--save", "--json"}},
    {{"bom", "pack", "P/A", "--recursive"}},
    {{"bom", "numbers", "P/A"}},
    {{"bom", "find", "P/A", "R/A"}},
    {{"bom", "export", "P/A", "--class", "Item"}},
    {{"bom", "export", "P/A", "--class", "Dataset"}},
    {{"bom", "add", "Q/A", "R", "--quantity", "3", "--sequence", "9"}},
    {{"bom", "add", "R/A", "S/A"}, {{"item", "create", "S"}}},
    {{"bom", "remove", "P/A", "R", "--all"}},
    {{"checkout", "Q/A"}},
    {{"checkin", "Q/A"}, {{"checkout", "Q/A"}}},
    {{"clone", "{files}/list.txt", "--out", "{out}"}},
    {{"completion", "bash"}},
    {{"dataset", "import", "{files}/report.txt", "--item", "P", "--rev", "A"}},
    {{"dataset", "import", "{files}/body.prt", "--type", "Model", "--item", "P", "--json"}},
    {{"dataset", "export", "Front", "--out", "{out}"}},
    {{"dataset", "export", "Front", "--out", "-"}},
    {{"dataset", "export-images", "--item", "P", "--rev", "A", "--out", "{out}"}},
    {{"dataset", "copy", "Front", "Front 2", "--item", "P", "--rev", "A"}},
    {{"dataset", "show", "Frame"}},
    {{"dataset", "show", "Front"}},
    {{"dataset", "list", "--item", "P", "--rev", "A"}},
    {{"dataset", "delete", "Front", "--item", "P", "--rev", "A"}},
    {{"date", "31-Dec-2026 23:59", "--to", "%Y"}},
    {{"date", "31-Dec-2026 23:59", "--to-site"}},
    {{"filter", "P*", "--type", "Item", "--status", "Rel"}, {}, true},
    {{"filter", "P*", "--type", "Item", "--whole", "--json"}, {}, true},
    {{"find", "P*"}, {}, true},
    {{"form", "list", "P/A"}},
    {{"form", "show", "P"}},
    {{"form", "get", "P/A", "material"}},
    {{"form", "set", "P/A", "material=brass", "weight=2.5"}},
    {{"form", "set", "Frame", "material=brass", "--reference", "Mass"}},
    {{"handler", "list", TEST_HANDLERS}},
    {{"handler", "run", TEST_HANDLERS, "--job", "J", "--handler", "do-nothing"}, {start}},
    {{"host", "init", "{out}/new.db", "--seed", "{files}/seed.json"}},
    {{"host", "seed", "{site}", "{files}/seed.json"}},
    {{"host", "show", "{site}"}, {start}},
    {{"host", "show", "{site}", "users"}},
    {{"host", "snapshot", "{site}", "{out}/copy.db"}},
    {{"host", "restore", "{out}/new.db", "{site}"}},
    {{"host", "reset", "{site}"}},
    {{"host", "remove", "{site}"}},
    {{"host", "check", "{site}"}},
    {{"host", "export", "{site}", "--out", "{out}/seed.json", "--files", "{out}/files"}},
    {{"host", "pref", "{site}", "ZOLP_qnversion", "v15"}},
    {{"host", "unlock", "{site}"}},
    {{"item", "create", "S", "--name", "Screw", "--description", "M6"}},
    {{"item", "revise", "P", "--json"}},
    {start},
    {{"job", "start", "Decided", "--name", "K", "--handlers", TEST_HANDLERS, "--target", "P/A"}},
    {{"job", "list"}, {start}},
    {{"job", "show", "J"}, {start}},
    {approve, {start}},
    {{"job", "result", "J", "Large?", "true"}, {start, approve}},
    {{"job", "continue", "J", "--handlers", TEST_HANDLERS}, {stopped}},
    {{"job", "template"}},
    {{"job", "template", "Release", "--mermaid"}},
    {{"job", "targets", "J", "--add", "Q/A", "--remove", "P/A"}, {start}},
    {{"job", "refresh", "J"}, {start}},
    {{"job", "delete", "J"}, {start}},
    {{"list", "check", "{files}/list.txt"}},
    {{"list", "clean", "{files}/list.txt", "{out}/new.txt"}},
    {{"list", "clean", "{files}/list.txt", "-"}},
    {{"list", "dedupe", "{files}/list.txt", "{out}/new.txt"}},
    {{"list", "scan", "{files}/list.txt", "{out}/new.txt", "--pattern", "X"}},
    {{"list", "items", "{files}/items.txt"}},
    {{"list", "tree", "{files}/list.txt"}},
    {{"manual", "--markdown"}},
    {{"schema", "bom", "tree"}},
    {{"show", "P/A"}},
    {{"show", "P", "--json"}},
    {{"trace", "show", "{files}/run.trace"}},
    {{"trace", "summary", "{files}/run.trace"}},
    {{"trace", "failures", "{files}/run.trace"}},
    {{"trace", "slow", "{files}/run.trace"}},
    {{"trace", "graph", "{files}/run.trace", "work"}},
    {{"trace", "diff", "{files}/run.trace", "{files}/run.trace"}},
    {{"trace", "export", "{files}/run.trace", "--format", "folded"}},
    {{"trace", "export", "{files}/run.trace", "--format", "chrome", "--out", "{out}/calls"}},
#if defined(HAS_VIEWER)
    {{"trace", "view", "{files}/run.trace", "--out", "{out}/run.html"}},
#else
    {{"trace", "view", "--help"}},
#endif
  };
  return all;
}

}  // namespace sweep
