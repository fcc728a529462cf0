// Case files through the API: writing findings, reading them back case by case, the settings,
// malformed input with its location, and casesets over files.
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>

#include "Support/EnvFixture.h"

namespace {

class CaseFileTest : public EnvTest {
 protected:
  void SetUp() override {
    EnvTest::SetUp();
    net = NewNet_bn("Cases", env);
    a = NewNode_bn("A", 2, net);
    b = NewNode_bn("B", 3, net);
    c = NewNode_bn("C", 0, net);  // continuous
    SetNodeStateNames_bn(a, "yes,no");
    SetNodeStateNames_bn(b, "low,mid,high");
    nodes = GetNetNodes_bn(net);
    file = NewMemoryStream_vq("cases.cas", env, nullptr);
  }

  void setText(const std::string& text, stream_vq* s = nullptr) {
    SetStreamContents_vq(s ? s : file, text.data(), static_cast<long long>(text.size()), 1);
  }

  // Reads the case at `posn` (updated) and returns the id.
  long read(caseposn_bn& posn, double* freq = nullptr) {
    long id = -2;
    ReadNetFindings_bn(&posn, file, nodes, &id, freq);
    return id;
  }
  std::string lastMessage(errseverity_vq sev = ERROR_ERR) {
    report_vq* r = lastError(sev);
    return r ? ErrorDisplayMessage_vq(r) : "";
  }

  net_bn* net = nullptr;
  node_bn *a = nullptr, *b = nullptr, *c = nullptr;
  const nodelist_bn* nodes = nullptr;
  stream_vq* file = nullptr;
};

TEST_F(CaseFileTest, ReadsCasesBackOneAfterAnother) {
  node_bn* d = NewNode_bn("D", 2, net);  // states without names: written "#1"
  nodes = GetNetNodes_bn(net);
  const prob_bn like[3] = {0.25f, 1.0f, 0.5f};
  EnterFinding_bn(a, 1);
  EnterNodeLikelihood_bn(b, like);
  EnterNodeValue_bn(c, -0.125);
  EnterFinding_bn(d, 1);
  WriteNetFindings_bn(nodes, file, -1, 1);
  RetractNetFindings_bn(net);
  EnterFinding_bn(b, 1);
  WriteNetFindings_bn(nodes, file, -1, 1);
  EXPECT_EQ(streamText(file), "A\tB\tC\tD\r\nno\t[0.25;1;0.5]\t-0.125\t#1\r\n*\tmid\t*\t*\r\n");

  RetractNetFindings_bn(net);
  EnterFinding_bn(a, 0);  // replaced by the first case
  caseposn_bn posn = FIRST_CASE;
  EXPECT_EQ(read(posn), -1);
  EXPECT_EQ(posn, 9);  // the first case line starts after "A\tB\tC\tD\r\n"
  EXPECT_EQ(GetNodeFinding_bn(a), 1);
  EXPECT_EQ(GetNodeFinding_bn(b), LIKELIHOOD_FINDING);
  EXPECT_FLOAT_EQ(GetNodeLikelihood_bn(b)[2], 0.5f);
  EXPECT_DOUBLE_EQ(GetNodeValueEntered_bn(c), -0.125);
  EXPECT_EQ(GetNodeFinding_bn(d), 1);

  posn = NEXT_CASE;
  read(posn);
  EXPECT_EQ(GetNodeFinding_bn(a), UNDEF_STATE);  // missing: the earlier finding is gone
  EXPECT_EQ(GetNodeFinding_bn(b), 1);
  posn = NEXT_CASE;
  read(posn);
  EXPECT_EQ(posn, NO_MORE_CASES);
  EXPECT_EQ(GetNodeFinding_bn(b), 1);  // nothing read at the end
  posn = NEXT_CASE;  // starts over, with a warning
  read(posn);
  EXPECT_EQ(posn, 9);
  EXPECT_EQ(lastMessage(WARNING_ERR),
            "already read last (2nd) case from file 'cases.cas', so starting over with first");
}

// A column or value may give the original label (the title) of a node or state whose name was
// legalised, when no name matches and the title picks exactly one.
TEST_F(CaseFileTest, TitlesStandForNamesWhenNoNameMatchesAndTheTitleIsUnique) {
  node_bn* pig = NewNode_bn("_197201290", 3, net);  // as read from Pigs: states "0", "1", "2"
  SetNodeStateNames_bn(pig, "_,_0,__10");
  SetNodeTitle_bn(pig, "197201290");
  for (state_bn s = 0; s < 3; ++s) SetNodeStateTitle_bn(pig, s, std::to_string(s).c_str());
  SetNodeTitle_bn(b, "Level");
  SetNodeStateTitle_bn(b, 0, "mid");   // a name of another state: the name wins
  SetNodeStateTitle_bn(b, 1, "same");  // a title two states share picks none
  SetNodeStateTitle_bn(b, 2, "same");
  SetNodeTitle_bn(c, "Twice");         // a title two nodes share picks none
  SetNodeTitle_bn(a, "Twice");
  nodes = GetNetNodes_bn(net);
  struct Row {
    std::string header, line;
    state_bn pigState, bState;  // UNDEF_STATE: no finding
    bool skipped;               // the case is refused as naming no state
  };
  const Row rows[] = {
      {"197201290", "2", 2, UNDEF_STATE, false},        // node and state by their titles
      {"_197201290", "__10", 2, UNDEF_STATE, false},    // by their names
      {"197201290", "_0", 1, UNDEF_STATE, false},       // a name is still a name
      {"Level", "mid", UNDEF_STATE, 1, false},          // the name "mid", not the title of state 0
      {"Level", "same", UNDEF_STATE, UNDEF_STATE, true},
      {"Twice\tB", "yes\tlow", UNDEF_STATE, 0, false},  // "Twice" names no node: its column is ignored
  };
  for (const Row& r : rows) {
    RetractNetFindings_bn(net);
    ClearErrors_vq(env, INTERNAL_ERR);
    setText(r.header + "\r\n" + r.line + "\r\n");
    caseposn_bn posn = FIRST_CASE;
    read(posn);
    EXPECT_EQ(GetNodeFinding_bn(pig), r.pigState) << r.header << " / " << r.line;
    EXPECT_EQ(GetNodeFinding_bn(b), r.bState) << r.header << " / " << r.line;
    EXPECT_EQ(GetNodeFinding_bn(a), UNDEF_STATE) << r.header << " / " << r.line;
    EXPECT_EQ(lastError(WARNING_ERR) != nullptr && ErrorSeverity_vq(lastError(WARNING_ERR)) == WARNING_ERR, r.skipped)
        << r.header << " / " << r.line << ": " << lastMessage(WARNING_ERR);
  }
}

TEST_F(CaseFileTest, AddKeepsFindingsOfMissingColumnsAndPositionsReadAgain) {
  setText("A\tB\r\n*\tlow\r\nno\thigh\r\n");
  EnterFinding_bn(a, 0);
  caseposn_bn posn = FIRST_CASE;
  ReadNetFindings2_bn(&posn, file, 1, nodes, nullptr, nullptr);
  EXPECT_EQ(GetNodeFinding_bn(a), 0);
  EXPECT_EQ(GetNodeFinding_bn(b), 0);
  caseposn_bn first = posn;
  posn = NEXT_CASE;
  read(posn);
  EXPECT_EQ(GetNodeFinding_bn(b), 2);
  posn = first;  // back to a position returned before
  read(posn);
  EXPECT_EQ(posn, first);
  EXPECT_EQ(GetNodeFinding_bn(b), 0);
}

TEST_F(CaseFileTest, IdNumAndNumCasesColumns) {
  EnterFinding_bn(a, 0);
  WriteNetFindings_bn(nodes, file, 7, 2.5);
  WriteNetFindings_bn(nodes, file, 8, 1);
  EXPECT_EQ(streamText(file), " IDnum\tNumCases\tA\tB\tC\r\n7\t2.5\tyes\t*\t*\r\n8\t1\tyes\t*\t*\r\n");
  caseposn_bn posn = FIRST_CASE;
  double freq = 0;
  EXPECT_EQ(read(posn, &freq), 7);
  EXPECT_DOUBLE_EQ(freq, 2.5);
  posn = NEXT_CASE;
  EXPECT_EQ(read(posn, &freq), 8);
  EXPECT_DOUBLE_EQ(freq, 1);

  stream_vq* plain = NewMemoryStream_vq("plain.cas", env, nullptr);
  WriteNetFindings_bn(nodes, plain, -1, 1);
  EXPECT_EQ(WriteNetFindings_bn(nodes, plain, 3, 1), -1);  // no IDnum column to hold it
  EXPECT_EQ(WriteNetFindings_bn(nodes, plain, -2, 1), -1);
  EXPECT_EQ(lastMessage(), "argument 'ID_num' is less than -1 (it is -2)");
  EXPECT_EQ(WriteNetFindings_bn(nodes, plain, -1, -0.5), -1);
  EXPECT_EQ(lastMessage(), "argument 'freq' is less than 0 (it is -0.5)");
}

TEST_F(CaseFileTest, DelimiterAndMissingDataSettings) {
  EXPECT_EQ(SetCaseFileDelimChar_vq(-1, env), '\t');
  EXPECT_EQ(SetMissingDataChar_vq(-1, env), '*');
  EXPECT_EQ(SetCaseFileDelimChar_vq(';', env), -1);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5574);
  EXPECT_EQ(lastMessage(), "argument 'newchar' should be -1 (means query only), or a comma, space or tab (it is ';')");
  EXPECT_EQ(SetMissingDataChar_vq('x', env), -1);
  EXPECT_EQ(SetMissingDataChar_vq(0, env), -1);
  EXPECT_EQ(lastMessage(), "argument 'newchar' cannot be absent (0) or a space (it is absent), unless the delimeter is a comma (it is tab)");

  EXPECT_EQ(SetCaseFileDelimChar_vq(',', env), '\t');
  EXPECT_EQ(SetMissingDataChar_vq(0, env), '*');
  EXPECT_EQ(SetCaseFileDelimChar_vq(' ', env), -1);
  EXPECT_EQ(lastMessage(), "argument 'newchar' should be a comma (it is space), unless the missing data symbol is not a space or absent (it is absent)");
  EnterFinding_bn(a, 1);
  EnterNodeValue_bn(c, 3);
  WriteNetFindings_bn(nodes, file, -1, 1);
  EXPECT_EQ(streamText(file), "A,B,C\r\nno,,3\r\n");
  RetractNetFindings_bn(net);
  EnterFinding_bn(b, 0);
  caseposn_bn posn = FIRST_CASE;
  read(posn);
  EXPECT_EQ(GetNodeFinding_bn(a), 1);
  EXPECT_EQ(GetNodeFinding_bn(b), UNDEF_STATE);

  SetMissingDataChar_vq('?', env);
  SetCaseFileDelimChar_vq(' ', env);
  setText("A   B  C\nno ? 4\n");  // runs of spaces separate
  posn = FIRST_CASE;
  read(posn);
  EXPECT_EQ(GetNodeFinding_bn(b), UNDEF_STATE);
  EXPECT_DOUBLE_EQ(GetNodeValueEntered_bn(c), 4);
}

TEST_F(CaseFileTest, ValueFormsFallToTheNextAvailable) {
  SetNodeStateTitle_bn(b, 2, "very \"high\"");
  const level_bn levels[3] = {1, 2, 3};
  SetNodeLevels_bn(b, 3, levels);
  EnterFinding_bn(a, 1);
  EnterFinding_bn(b, 2);
  EXPECT_EQ(SetCaseFileValueForm_vq(1, env), 0);
  WriteNetFindings_bn(nodes, file, -1, 1);  // A has no titles or levels: "#1"
  SetCaseFileValueForm_vq(2, env);
  WriteNetFindings_bn(nodes, file, -1, 1);  // A has no levels: "#1"
  SetCaseFileValueForm_vq(3, env);
  WriteNetFindings_bn(nodes, file, -1, 1);
  EXPECT_EQ(streamText(file), "A\tB\tC\r\n#1\t\"very \\\"high\\\"\"\t*\r\n#1\t3\t*\r\n#1\t#2\t*\r\n");
  EXPECT_EQ(SetCaseFileValueForm_vq(4, env), -1);
  int read3 = 0;
  for (caseposn_bn posn = FIRST_CASE;; posn = NEXT_CASE) {
    RetractNetFindings_bn(net);
    read(posn);
    if (posn == NO_MORE_CASES) break;
    EXPECT_EQ(GetNodeFinding_bn(b), 2) << "case at " << posn;
    EXPECT_EQ(GetNodeFinding_bn(a), 1);
    ++read3;
  }
  EXPECT_EQ(read3, 3);
  EXPECT_EQ(errorCount(ERROR_ERR), 1);  // only the refused form
}

TEST_F(CaseFileTest, ColumnsNamingNoNodeFollowTheAddMode) {
  setText("// ~->[CASE-1]->~\r\nA\tX\tY\r\nyes\t1.5\t*\r\n");
  caseposn_bn posn = FIRST_CASE;
  ReadNetFindings3_bn(&posn, file, 0, nodes, DONT_ADD_NEW, nullptr, nullptr);
  EXPECT_EQ(GetNodeFinding_bn(a), 0);
  EXPECT_EQ(GetNodeNamed_bn("X", net), nullptr);
  EXPECT_EQ(lastMessage(NOTICE_ERR), "Case file 'cases.cas' referred to these nodes not in net 'Cases':\nX, Y");

  posn = FIRST_CASE;
  ReadNetFindings3_bn(&posn, file, 0, nodes, QUERY_ADD_NEW, nullptr, nullptr);
  EXPECT_EQ(GetNodeNamed_bn("X", net), nullptr);

  posn = FIRST_CASE;
  ReadNetFindings3_bn(&posn, file, 0, nodes, QUIETLY_ADD_NEW, nullptr, nullptr);
  node_bn* x = GetNodeNamed_bn("X", net);
  ASSERT_NE(x, nullptr);
  EXPECT_EQ(GetNodeType_bn(x), CONTINUOUS_TYPE);
  EXPECT_DOUBLE_EQ(GetNodeValueEntered_bn(x), 1.5);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
  ReadNetFindings3_bn(&posn, file, 0, nodes, static_cast<addnew_bn>(9), nullptr, nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5582);
}

// The columns of a reading are matched to nodes and states once, not per case; an edit of the
// net between two cases of one reading must still be seen by the next case.
TEST_F(CaseFileTest, EditsBetweenCasesOfOneReadingAreSeenByTheNextCase) {
  nodelist_bn* onlyA = NewNodeList2_bn(0, net);
  AddNodeToList_bn(a, onlyA, -1);
  struct Row {
    const char* what;
    std::string text;  // header and two cases
    const nodelist_bn* listed;
    addnew_bn mode;
    std::function<void()> edit;   // between the first and the second case
    std::function<void()> check;  // after the second case
  };
  const Row rows[] = {
      {"read node renamed away from its column", "A\tB\r\nyes\tlow\r\nno\thigh\r\n", nodes, DONT_ADD_NEW,
       [&] { SetNodeName_bn(b, "Bx"); }, [&] { EXPECT_EQ(GetNodeFinding_bn(b), UNDEF_STATE); }},
      {"node renamed onto a column", "A\tB\tZ\r\nyes\tlow\tmid\r\nno\thigh\tlow\r\n", nodes, DONT_ADD_NEW,
       [&] { SetNodeName_bn(b, "Z"); }, [&] { EXPECT_EQ(GetNodeFinding_bn(b), 0); }},
      {"states renamed and reordered", "A\tB\r\nyes\tlow\r\nno\thigh\r\n", nodes, DONT_ADD_NEW,
       [&] { SetNodeStateNames_bn(b, "high,mid,low"); }, [&] { EXPECT_EQ(GetNodeFinding_bn(b), 0); }},
      {"node the reading added is deleted", "A\tW\r\nyes\t0.5\r\nno\t2.5\r\n", onlyA, QUIETLY_ADD_NEW,
       [&] { DeleteNode_bn(GetNodeNamed_bn("W", net)); },
       [&] {
         node_bn* w = GetNodeNamed_bn("W", net);
         ASSERT_NE(w, nullptr);
         EXPECT_DOUBLE_EQ(GetNodeValueEntered_bn(w), 2.5);
       }},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.what);
    SetNodeName_bn(b, "B");
    SetNodeStateNames_bn(b, "low,mid,high");
    RetractNetFindings_bn(net);
    setText(r.text);
    caseposn_bn posn = FIRST_CASE;
    ReadNetFindings3_bn(&posn, file, 0, r.listed, r.mode, nullptr, nullptr);
    EXPECT_EQ(GetNodeFinding_bn(a), 0);
    r.edit();
    posn = NEXT_CASE;
    ReadNetFindings3_bn(&posn, file, 0, r.listed, r.mode, nullptr, nullptr);
    EXPECT_NE(posn, NO_MORE_CASES);
    EXPECT_EQ(GetNodeFinding_bn(a), 1);
    r.check();
    EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
  }
  DeleteNodeList_bn(onlyA);
}

// A case is one undo step; a case refused part way (a state its parent's finding rules out)
// leaves every finding as the case before left it.
TEST_F(CaseFileTest, ACaseIsOneUndoStepAndARefusedCaseChangesNoFinding) {
  AddLink_bn(a, b);
  const prob_bn lowForYes[] = {1, 0, 0}, highForNo[] = {0, 0, 1};
  state_bn parent = 0;
  SetNodeProbs_bn(b, &parent, lowForYes);
  parent = 1;
  SetNodeProbs_bn(b, &parent, highForNo);
  SetNetNumUndos_bn(net, 10, -1, nullptr);
  setText("A\tB\r\nyes\tlow\r\n*\thigh\r\nyes\thigh\r\n");
  caseposn_bn posn = FIRST_CASE;
  read(posn);
  posn = NEXT_CASE;
  read(posn);
  ASSERT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
  posn = NEXT_CASE;
  read(posn);
  EXPECT_NE(lastMessage().find("contradicts"), std::string::npos) << lastMessage();
  EXPECT_EQ(GetNodeFinding_bn(a), UNDEF_STATE);
  EXPECT_EQ(GetNodeFinding_bn(b), 2);
  ASSERT_TRUE(UndoNetLastOper_vq(net, -1));
  EXPECT_EQ(GetNodeFinding_bn(a), 0);
  EXPECT_EQ(GetNodeFinding_bn(b), 0);
}

struct Malformed {
  const char* text;
  const char* message;
};

TEST_F(CaseFileTest, MalformedInputIsReportedWithItsLocation) {
  const Malformed cases[] = {
      {"A\tB\tC\nyes\tlow\n", "too few entries (2, but preceeding row had 3), in case 1 on line 2 (char 1 of file 'cases.cas')"},
      {"A\tB\nno\tlow\tx\n", "too many entries (the preceeding row only had 2, but this has more), in case 1 on line 2 (char 1 of file 'cases.cas')"},
      {"A\tC\nyes\twarm\n", "illegal value 'warm' for variable 'C', in case 1 on line 2 (char 5 of file 'cases.cas')"},
      {"A\tB\n#7\tlow\n", "value '#7' is not one of the possible states of variable 'A', in case 1 on line 2 (char 1 of file 'cases.cas')"},
      {"A\tB\nyes\t2\n", "value 2 does not correspond to any state of variable 'B', in case 1 on line 2 (char 5 of file 'cases.cas')"},
      {"NumCases\tA\n-1\tyes\n", "illegal number '-1' for NumCases, in case 1 on line 2 (char 1 of file 'cases.cas')"},
      {"A\tB\nyes\tlow /* a comment\n that goes on */\n", "multi-line comment found starting on a line which has case information"},
      {"// ~->[DNET-1]->~\nA\n", "not a case data file (it is a DNET file), for file cases.cas"},
      {"IDnum\tA\tIDnum\n", "multiple IDnum columns in case file 'cases.cas'"},
      {"A\tNumCases\tNumCases\n", "multiple NumCases columns in case file 'cases.cas'"},
      {"\n// only comments\n", "file has no cases in it, or is in an unknown format"},
      {"A\tB\n\"yes\"\t\"huge\"\n", "value '\"huge\"' is not one of the possible states of variable 'B', in case 1 on line 2 (char 7 of file 'cases.cas')"},
  };
  for (const Malformed& m : cases) {
    SCOPED_TRACE(m.text);
    RetractNetFindings_bn(net);
    EnterFinding_bn(a, 1);
    setText(m.text);
    ClearErrors_vq(env, NOTHING_ERR);
    caseposn_bn posn = FIRST_CASE;
    read(posn);
    EXPECT_EQ(lastMessage(), m.message);
    EXPECT_EQ(GetNodeFinding_bn(a), 1);  // a refused case leaves the findings as they were
  }
  const char wide[] = "\xFF\xFE" "A\0\n\0";
  SetStreamContents_vq(file, wide, sizeof wide - 1, 1);
  caseposn_bn posn = FIRST_CASE;
  read(posn);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 3893);
  EXPECT_EQ(lastMessage(), "the case data file must be an ASCII file, but it is UTF-16LE character encoded, in file cases.cas");
}

TEST_F(CaseFileTest, SkippedCasesVersionsAndDuplicatedColumns) {
  setText("// ~->[CASE-2]->~\nA\tB\tA\n/* a comment\n over lines */\nyes\tlarge\tno\nno\tlow\tyes // trailing\n");
  caseposn_bn posn = FIRST_CASE;
  read(posn);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
  EXPECT_EQ(GetNodeFinding_bn(a), 1);  // the first case is skipped; the first A column counts
  EXPECT_EQ(GetNodeFinding_bn(b), 0);
  std::string all;
  for (report_vq* r = GetError_vq(env, NOTICE_ERR, nullptr); r; r = GetError_vq(env, NOTICE_ERR, r))
    all += std::string(ErrorDisplayMessage_vq(r)) + "|";
  EXPECT_NE(all.find("these cases were stored using a new version of file format (2.00), in file cases.cas.  They may not read correctly|"), std::string::npos);
  EXPECT_NE(all.find("more than 1 column for variable 'A' in case file 'cases.cas' (only first column will be used)|"), std::string::npos);
  EXPECT_NE(all.find("unknown value 'large' for variable 'B', so case is skipped, in case 1 on line 5 (char 5 of file 'cases.cas')|"), std::string::npos);

  setText("A\nyes\n");
  posn = FIRST_CASE;
  read(posn);
  EXPECT_EQ(lastMessage(NOTICE_ERR), "case file doesn't indicate format version, for file cases.cas");
}

TEST_F(CaseFileTest, CasesetJoinsFilesAndWeightsFrequencies) {
  stream_vq* one = NewMemoryStream_vq("one.cas", env, nullptr);
  stream_vq* two = NewMemoryStream_vq("two.cas", env, nullptr);
  stream_vq* out = NewMemoryStream_vq("out.cas", env, nullptr);
  setText("A\tB\nyes\tlow\nno\t*\n", one);
  setText(" IDnum\tNumCases\tC\tA\n4\t3\t1.5\tno\n", two);
  caseset_cs* cs = NewCaseset_cs("both", env);
  ASSERT_NE(cs, nullptr);
  AddFileToCaseset_cs(cs, one, 1, nullptr);
  AddFileToCaseset_cs(cs, two, 2, "");
  WriteCaseset_cs(cs, out, nullptr);
  const std::string joined = streamText(out);
  EXPECT_EQ(joined, " IDnum\tNumCases\tA\tB\tC\r\n*\t1\tyes\tlow\t*\r\n*\t1\tno\t*\t*\r\n4\t6\tno\t*\t1.5\r\n");

  stream_vq* bad = NewMemoryStream_vq("bad.cas", env, nullptr);
  setText("A\tB\nyes\n", bad);
  AddFileToCaseset_cs(cs, bad, 1, nullptr);
  EXPECT_EQ(lastMessage(), "too few entries (1, but preceeding row had 2), in case 1 on line 2 (char 1 of file 'bad.cas')");
  AddFileToCaseset_cs(cs, one, 1, "fast");
  EXPECT_EQ(lastMessage(), "argument 'options' should be empty or NULL (it is 'fast')");
  AddFileToCaseset_cs(cs, one, -1, nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5584);
  WriteCaseset_cs(cs, out, nullptr);  // the refused files were not added
  EXPECT_EQ(streamText(out), joined);

  DeleteStream_vq(two);
  WriteCaseset_cs(cs, out, nullptr);
  EXPECT_EQ(lastMessage(), "FileSpec 'two.cas' of caseset 'both' has been deleted");
  DeleteCaseset_cs(cs);
  WriteCaseset_cs(cs, out, nullptr);
  EXPECT_EQ(lastMessage(), "deleted or damaged Caseset passed");
}

TEST_F(CaseFileTest, LargeFileIsReadCaseByCase) {
  std::string path = ::testing::TempDir() + "quorva_cases_large.cas";
  {
    std::ofstream out(path, std::ios::binary);
    out << " IDnum\tA\tB\tC\n";
    for (int i = 0; i < 20000; ++i) out << i << '\t' << (i % 2 ? "no" : "yes") << "\t*\t" << i * 0.5 << '\n';
  }
  stream_vq* big = NewFileStream_vq(path.c_str(), env, nullptr);
  long id = 0, count = 0;
  for (caseposn_bn posn = FIRST_CASE;; posn = NEXT_CASE) {
    ReadNetFindings_bn(&posn, big, nodes, &id, nullptr);
    if (posn == NO_MORE_CASES) break;
    ASSERT_EQ(id, count) << lastMessage();
    ++count;
  }
  EXPECT_EQ(count, 20000);
  EXPECT_DOUBLE_EQ(GetNodeValueEntered_bn(c), 19999 * 0.5);
  EXPECT_EQ(GetNodeFinding_bn(a), 1);
  EnterFinding_bn(b, 0);
  EXPECT_EQ(WriteNetFindings_bn(nodes, big, 20000, 1), 0);  // appends under the file's header
  caseposn_bn posn = NEXT_CASE;  // the write moved the cursor back to the start
  ReadNetFindings_bn(&posn, big, nodes, &id, nullptr);
  EXPECT_EQ(id, 0);
  DeleteStream_vq(big);
  std::remove(path.c_str());
}

}  // namespace
