#include "tests/tools/run_program.h"

namespace {

const std::string seed = test::file_text("tools/seeds/job.json");

class JobCommands : public test::ZolpTest {
 protected:
  JobCommands() { make_site(seed); }

  test::Run job(std::vector<std::string> arguments) { return on_site("job", std::move(arguments)); }

  /** What a command prints that succeeds. */
  std::string done(std::vector<std::string> arguments) {
    const test::Run run = job(std::move(arguments));
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(run.err, "");
    return run.out;
  }
};

TEST_F(JobCommands, AJobFromItsStartToItsEnd) {
  const std::string started = done({"start", "Release", "--name", "R-1", "--target", "100/A",
                                    "--reference", "200", "--description", "First"});
  EXPECT_EQ(started,
            "R-1  Started  (template Release, owner ada)\n"
            "├── target 100/A-Press\n"
            "├── reference 200-Rod?[31m\n"
            "├── Check  Started  (review)\n"
            "│   ├── [none]  ada (engineering/designer)\n"
            "│   ├── [none]  anybody of quality/*\n"
            "│   └── select-signoff-team  Completed  (team)\n"
            "└── Large?  Pending  (condition)\n"
            "    └── on true: Inform  Pending\n");
  EXPECT_EQ(done({"show", "R-1"}), started);
  EXPECT_EQ(done({"refresh", "R-1"}), started);
  EXPECT_EQ(done({"show", "R-1", "--mermaid"}),
            "flowchart TD\n"
            "  n0([\"R-1<br>Started\"]):::running\n"
            "  n1[\"Check<br>Started<br>ada (engineering/designer): none<br>"
            "anybody of quality/*: none\"]:::running\n"
            "  n2{\"Large?<br>Pending\"}\n"
            "  n3[\"Inform<br>Pending\"]\n"
            "  n4([\"end\"])\n"
            "  n0 --> n1\n"
            "  n1 --> n2\n"
            "  n2 -->|\"true\"| n3\n"
            "  n3 --> n4\n"
            "  n2 -->|\"otherwise\"| n4\n"
            "  classDef running fill:#dbe9fb,stroke:#1565c0\n");
  EXPECT_THAT(done({"template", "Release", "--dot"}),
              HasSubstr("n2 [label=\"Large?\", shape=diamond"));
  expect_refusal(job({"show", "R-1", "--dot", "--json"}), 2, "excludes");

  expect_refusal(job({"signoff", "R-1", "--decision", "approve", "-u=dora", "-p=dora-secret",
                      "-g=engineering"}),
                 1, "review Check has no signoff for this user");
  EXPECT_THAT(done({"signoff", "R-1", "--decision", "reject", "--comment", "too \x1bheavy"}),
              HasSubstr("[reject]  ada (engineering/designer)  by ada on "));
  EXPECT_THAT(done({"signoff", "R-1", "--decision", "none"}), Not(HasSubstr("heavy")));
  done({"signoff", "R-1", "--decision", "approve"});
  done({"signoff", "R-1", "--decision", "approve", "--review", "Check", "-u=carl", "-p=carl-secret",
        "-g=quality"});
  expect_refusal(job({"signoff", "R-1", "--decision", "approve"}), 1, "has no review that waits");
  expect_refusal(job({"signoff", "R-1", "--decision", "approve", "--review", "Check"}), 1,
                 "The review has not begun or is over");

  const auto waiting = job({"show", "R-1", "--json"}).json();
  EXPECT_EQ(waiting["root"]["tasks"][0]["signoffs"][1]["user"], "carl");
  EXPECT_EQ(waiting["root"]["tasks"][1]["state"], "Started");
  EXPECT_EQ(waiting["root"]["tasks"][1]["tasks"][0]["on_result"], 1);
  expect_refusal(job({"result", "R-1", "large?", "true"}), 1, "no condition task large?");
  expect_refusal(job({"result", "R-1", "Large?", "yes"}), 2, "give true, false or a number");
  EXPECT_THAT(done({"result", "R-1", "Large?", "3"}),
              AllOf(HasSubstr("R-1  Completed"), HasSubstr("├── status OK\n"),
                    HasSubstr("Large?  Completed  (condition)  result 3\n"
                              "    └── on true: Inform  Skipped\n")));
  expect_refusal(job({"result", "R-1", "Large?", "true"}), 1, "The task is decided or over");
  EXPECT_THAT(on_site({"show", "100/A"}).out, HasSubstr("OK"));

  EXPECT_THAT(done({"targets", "R-1", "--add", "100", "--remove", "100/A"}),
              AllOf(HasSubstr("100-Press"), Not(HasSubstr("100/A"))));
  EXPECT_EQ(job({"list", "--json"}).json()[0]["state"], "Completed");
  const std::string number = job({"list", "--json"}).json()[0]["number"];
  EXPECT_EQ(done({"delete", number}), "deleted R-1\n");
  EXPECT_EQ(job({"list", "--json"}).out, "[]\n");
  EXPECT_EQ(on_site({"show", "100"}).exit_code, 0) << "targets stay";
}

TEST_F(JobCommands, HandlersOfALibraryAreCalled) {
  const std::string library = TEST_HANDLERS;
  expect_refusal(
      job({"start", "Decided", "--name", "D-1", "--target", "100"}), 1,
      "job D-1 was stopped at task Decide by handler test-decide, called on start (There "
      "is no such workflow handler in this program: test-decide)");
  EXPECT_THAT(done({"continue", "D-1", "--handlers", library}),
              AllOf(HasSubstr("D-1  Completed"), HasSubstr("result false")));
  EXPECT_THAT(done({"start", "Decided", "--name", "D-2", "--target", "100", "--target", "200",
                    "--handlers", library}),
              HasSubstr("result true"));
  EXPECT_EQ(done({"start", "Gone", "--name", "G", "--handlers", library}),
            "a handler has deleted job G\n");
  EXPECT_EQ(job({"list", "--json"}).json().size(), 2u);

  done({"start", "Release", "--name", "R", "--target", "100"});
  const test::Run run =
      on_site({"handler", "run", library, "--job", "R", "--handler", "test-decide"});
  EXPECT_EQ(run.out, "test-decide has run on task Check\n") << run.err;
  EXPECT_EQ(job({"show", "R", "--json"}).json()["root"]["tasks"][1]["result"], 2);
  expect_refusal(on_site({"handler", "run", library, "--job", "R", "--handler", "test-decide",
                          "--task", "Large?", "--argument", "fail=yes"}),
                 1, "handler test-decide failed on task Large? (Unknown error code 4711): mend it");
  expect_refusal(on_site({"handler", "run", library, "--job", "R", "--handler", "none"}), 1,
                 "There is no such workflow handler");
  expect_refusal(on_site({"handler", "run", library, "--job", "R", "--task", "none"}), 1,
                 "the job has no task none");
  const test::Run all = on_site({"handler", "run", library, "--job", "R", "--json"});
  EXPECT_EQ(all.json().size(), 4u) << all.err;
  EXPECT_EQ(job({"list", "--json"}).json().size(), 2u) << "one of them deletes the job";
}

TEST_F(JobCommands, AnUndecidedSignoffGoesBeforeAnotherUsersDecidedOne) {
  done({"start", "Pools", "--name", "P"});
  for (const std::string user : {"carl", "emil"}) {
    done({"signoff", "P", "--decision", "approve", "-u=" + user, "-p=" + user + "-secret",
          "-g=quality"});
  }
  EXPECT_THAT(done({"show", "P"}),
              AllOf(HasSubstr("P  Completed"), HasSubstr("by carl on "), HasSubstr("by emil on ")));
}

TEST_F(JobCommands, OfTwoJobsOfOneNameTheNumberTellsWhich) {
  tag template_of_both = NULLTAG;
  tag second = NULLTAG;
  ASSERT_EQ(ork_host_open(site.c_str()) | ORK_auto_login(), ORK_ok);
  ASSERT_EQ(FLOW_find_process_template("Release", &template_of_both), ORK_ok);
  for (const char* description : {"first", "second"}) {
    ASSERT_EQ(FLOW_create_process("R", description, template_of_both, 0, nullptr, nullptr, &second),
              ORK_ok);
  }
  ork_host_close();
  expect_refusal(this->job({"delete", "R"}), 1, "there are 2 jobs R");
  EXPECT_THAT(done({"show", "#" + std::to_string(second)}), StartsWith("R  Started"));
  done({"delete", "#" + std::to_string(second)});
  EXPECT_THAT(done({"show", "R"}), StartsWith("R  Started"));
}

TEST_F(JobCommands, RefuseWhatIsWrong) {
  done({"start", "Release", "--name", "R"});
  expect_refusal(job({"start", "Release", "--name", "R"}), 1, "there is a job R already");
  expect_refusal(job({"start", "release", "--name", "S"}), 1, "there is no process template");
  expect_refusal(job({"start", "Release", "--name", "S", "--target", "999"}), 1, "no item");
  expect_refusal(job({"start", "Release", "--name", std::string(200, 'n')}), 1, "longer");
  expect_refusal(job({"start", "Release"}), 2, "--name");
  expect_refusal(job({"show", "S"}), 1, "there is no job S");
  expect_refusal(job({"show", "#1"}), 1, "there is no job #1");
  expect_refusal(job({"signoff", "R", "--decision", "maybe"}), 2, "maybe");
  expect_refusal(job({"signoff", "R", "--decision", "approve", "--review", "x"}), 1,
                 "has no review x");
  expect_refusal(job({"targets", "R", "--remove", "100"}), 1, "The object is not attached");
  expect_refusal(job({"show", "R", "--handlers", site}), 1, "cannot load the handlers");
  expect_refusal(on_site({"job"}), 2, "needs a command");
}

TEST_F(JobCommands, TrialsFromOutside) {
  const std::string calls = folder.path("calls");
  const auto start = [&](std::vector<std::string> more) {
    more.insert(more.begin(), {"start", "Release", "--name", "T", "--target", "100/A"});
    return job(more);
  };
  expect_refusal(start({"--fail", "OBJ_save"}), 2, "OPERATION[:N]=STATUS");
  expect_refusal(start({"--fail", "OBJ_safe=1"}), 2, "there is no operation \"OBJ_safe\"");
  expect_refusal(start({"--delay", "OBJ_save=soon"}), 2, "OPERATION=MILLISECONDS");
  expect_refusal(start({"--fail", "FLOW_create_process=27002", "--journal", calls}), 1,
                 "injected into FLOW_create_process");
  EXPECT_THAT(folder.read("calls"), HasSubstr("FLOW_create_process 27002\n"));
  EXPECT_EQ(start({"--delay", "FLOW_create_process=1"}).exit_code, 0);

  const test::Run kept = run_zolp(
      {"handler", "run", TEST_HANDLERS, "--job", "T", "--handler", "leave-behind", "--host", site},
      {{"ORK_HOST_BLOCKS", "report"}});
  EXPECT_EQ(kept.exit_code, 0);
  EXPECT_THAT(kept.err, HasSubstr("1 block, 5 bytes, never given back; 1 lock still held"));
  EXPECT_THAT(kept.err, HasSubstr("1 block, 5 bytes: MEM_alloc inside leave_behind\n"));
  EXPECT_THAT(kept.err, HasSubstr("lock on T: OBJ_refresh inside leave_behind\n"));
}

}  // namespace
