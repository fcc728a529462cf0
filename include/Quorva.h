/* Quorva: the public C interface of the belief-network and decision-network engine.
 *
 * Conventions that hold for every function below:
 * - Every call runs in the frame of its environment: it takes the environment's lock, names itself
 *   for the calling thread, checks its arguments at the environment's checking level, and on a
 *   failure leaves an error record in the environment (read it with GetError_vq) and returns the
 *   failure value given in its description (NULL, -1 or a negative number; void functions just
 *   return).  A failed call leaves every object as it was before the call.
 * - Strings returned as `const char*` are owned by the engine; they stay valid until the object
 *   they describe changes or is deleted.  Strings passed in are copied.
 * - A second API call from the same thread while one is running is refused (error 5114), except
 *   from inside a listener callback.
 * - Any change to a net's structure (nodes, states, links, kinds) drops its compiled form.
 */
#ifndef QUORVA_H
#define QUORVA_H

#ifdef __cplusplus
extern "C" {
#endif

/* ===================================================================== types and constants */

typedef struct environ_vq environ_vq;   /* the environment: owns nets, streams and error records */
typedef struct report_vq report_vq;     /* one error record */
typedef struct net_bn net_bn;           /* a belief or decision net */
typedef struct node_bn node_bn;         /* a node of a net */
typedef struct nodelist_bn nodelist_bn; /* an ordered list of nodes of one net */
typedef struct stream_vq stream_vq;     /* a byte stream over a file or a memory buffer */
typedef struct randgen_vq randgen_vq;   /* a seeded random generator */

typedef int state_bn;       /* a state index 0..n-1, or one of the special values below */
typedef double level_bn;    /* a state level or a discretization threshold */
typedef float prob_bn;      /* a probability as stored in tables */
typedef unsigned char bool_vq;

#define QUORVA_VERSION 100 /* version 1.00, as returned by GetQuorvaVersion_bn */
#define NAME_MAX_vq 30     /* the longest name of a net, node, state, link input or node set */
#define MESG_LEN_vq 600    /* the size of the message buffers of InitQuorva2_bn and CloseQuorva_bn */

typedef enum {
  NATURE_NODE = 1,
  CONSTANT_NODE = 2,
  DECISION_NODE = 3,
  UTILITY_NODE = 4,
  DISCONNECTED_NODE = 5,
  ADVERSARY_NODE = 6
} nodekind_bn;

typedef enum { CONTINUOUS_TYPE = 1, DISCRETE_TYPE = 2 } nodetype_bn;

/* Special state values. */
#define EVERY_STATE (-5)
#define IMPOSS_STATE (-4)
#define UNDEF_STATE (-3)
#define UNIFORM_STATE (-2)
#define LIKELIHOOD_FINDING (-6)
#define NEGATIVE_FINDING (-7)

/* Severities of error records, from least to most serious. */
typedef enum {
  NOTHING_ERR = 0,
  FALSE_ALERT_ERR = 1,
  REPORT_ERR = 2,
  NOTICE_ERR = 3,
  WARNING_ERR = 4,
  ERROR_ERR = 5,
  INTERNAL_ERR = 6
} errseverity_vq;

/* Added to the severity given to ClearErrors_vq to clear the records of every thread. */
#define ALL_THREADS 0x20

/* Conditions that ErrorCategory_vq tests a record for. */
typedef enum {
  OUT_OF_MEMORY_CND = 0x08,  /* an allocation failed or the memory limit was reached */
  USER_ABORTED_CND = 0x20,   /* the operation was halted */
  FROM_WRAPPER_CND = 0x40,   /* raised by the API frame while checking an argument */
  FROM_DEVELOPER_CND = 0x80, /* recorded by the application with NewError_vq */
  INCONS_FINDING_CND = 0x200  /* findings that cannot hold together */
} errcond_vq;

/* Argument-checking levels (ArgumentChecking_vq). */
#define QUERY_CHECK (-1)  /* only report the present level */
#define NO_CHECK 1        /* check nothing */
#define QUICK_CHECK 2     /* nulls, object types, deleted objects, ranges */
#define REGULAR_CHECK 3   /* as QUICK_CHECK (the default) */
#define COMPLETE_CHECK 4  /* also the internal consistency of every node passed */

/* The undefined double (a NaN); test for it with x != x. */
double GetUndefDbl_vq(void);
#define UNDEF_DBL (GetUndefDbl_vq())

/* ===================================================================== environment */

/* Creates an environment.  `license` and `locn` may be NULL; `prev` must be NULL.
 * Nothing else works until InitQuorva2_bn has initialised it.  Returns NULL on failure. */
environ_vq* NewQuorvaEnviron_vq(const char* license, environ_vq* prev, const char* locn);

/* Initialises the environment and writes a start-up message of at most MESG_LEN_vq bytes into
 * `mesg` (may be NULL).  Returns 0 or more on success, a negative number on failure. */
int InitQuorva2_bn(environ_vq* env, char* mesg);

/* Ends the environment: deletes its nets, streams and error records.  Every later call on it fails
 * with "memory system (or environment) is uninitialized or has been closed".  Writes a closing
 * message into `mesg` (may be NULL).  Returns 0 on success, negative on failure. */
int CloseQuorva_bn(environ_vq* env, char* mesg);

/* Returns the version times 100 (100 for 1.00) and, through `version` (may be NULL), a string
 * "1.00 L64,Quorva (features)".  Returns -1 on failure. */
int GetQuorvaVersion_bn(environ_vq* env, const char** version);

/* Sets the argument-checking level (NO_CHECK..COMPLETE_CHECK) and returns the previous one;
 * QUERY_CHECK (or any negative level) only reports it.  Returns -1 on failure (a level above 4). */
int ArgumentChecking_vq(int setting, environ_vq* env);

/* Sets the most bytes that tables may take (a negative `max_mem` only queries) and returns the
 * limit in force before the call.  A request past the limit fails with error 3364.
 * Returns -1 on failure. */
double LimitMemoryUsage_vq(double max_mem, environ_vq* env);

/* Sets the language in which API names are quoted in messages: "C" (the default, names such as
 * CloseQuorva_bn) or "Java" / "C#" (object names such as Environ.finalize); NULL or "?" only
 * queries.  Returns the previous language, or NULL on failure. */
const char* SetLanguage_vq(environ_vq* env, const char* language);

/* Controls how calls are serialised.  Commands and their values:
 *   "ExternalThreads": "MultiThread" (default; each call locks the environment of its object) or
 *                      "SingleThread" (every call locks one global environment);
 *   "InternalThreads": "MultiThread" (default; the engine may use worker threads) or "SingleThread";
 *   "Serialize":       "NormalBlocking" (default; wait on the lock), "Sleep" (poll the lock,
 *                      sleeping between tries) or "CallerAssuresSafety" (the caller guarantees that
 *                      handles are valid; the environment is found without the extra tag checks).
 * A value of "?" or NULL only queries.  Returns the previous value, or NULL on failure. */
const char* ControlConcurrency_vq(environ_vq* env, const char* command, const char* value);

/* Raises error 5197 "this is test # N, an API param error generated deliberately to check
 * recovery" so that an application can exercise its recovery path.  Always returns -1. */
int TestFaultRecovery_vq(environ_vq* env, int test_num);

/* ===================================================================== error records */

/* Returns the next live record of the calling thread, after `after` (NULL: the first), whose
 * severity is at least `severity`; NULL when there is none. */
report_vq* GetError_vq(environ_vq* env, errseverity_vq severity, const report_vq* after);

/* The error number (its magnitude; the record stores it negated).  -1 on failure. */
int ErrorNumber_vq(const report_vq* error);

/* The message, with its glossary marks (">-word").  NULL on failure. */
const char* ErrorMessage_vq(const report_vq* error);

/* The message as a person should read it: glossary marks removed, ">-cr-" a line break. */
const char* ErrorDisplayMessage_vq(const report_vq* error);

/* The severity; NOTHING_ERR on failure. */
errseverity_vq ErrorSeverity_vq(const report_vq* error);

/* Whether the record belongs to the given condition; 0 on failure. */
bool_vq ErrorCategory_vq(errcond_vq cond, const report_vq* error);

/* Deletes one record (the environment's shared records are never deleted). */
void ClearError_vq(report_vq* error);

/* Deletes the calling thread's records of severity up to `severity` (an errseverity_vq); with
 * ALL_THREADS added, those of every thread.  It is an int so that it can carry ALL_THREADS. */
void ClearErrors_vq(environ_vq* env, int severity);

/* Records an application's own error: `number` 1..999, `severity` NOTHING_ERR..INTERNAL_ERR.
 * Returns the record, or NULL on failure. */
report_vq* NewError_vq(environ_vq* env, int number, errseverity_vq severity, const char* mesg);

/* ===================================================================== nets */

/* Creates an empty net named `name` (the name rule: 1 to 30 letters, digits or underscores, not
 * starting with a digit).  Returns NULL on failure. */
net_bn* NewNet_bn(const char* name, environ_vq* env);

/* Duplicates a net into `new_env` under `new_name`.  `options` is NULL or a comma-separated list
 * of "no_node_sets", "no_nodes", "no_links", "no_tables", "no_visual", "no_window".
 * Returns NULL on failure. */
net_bn* CopyNet_bn(const net_bn* net, const char* new_name, environ_vq* new_env, const char* options);

/* Deletes a net with its nodes, tables and compiled form; its handles become invalid. */
void DeleteNet_bn(net_bn* net);

void SetNetName_bn(net_bn* net, const char* name);
const char* GetNetName_bn(const net_bn* net);
void SetNetTitle_bn(net_bn* net, const char* title);
const char* GetNetTitle_bn(const net_bn* net);
void SetNetComment_bn(net_bn* net, const char* comment);
const char* GetNetComment_bn(const net_bn* net);
environ_vq* GetNetEnviron_bn(const net_bn* net);

/* User fields: named values of `length` bytes (-1: `data` is a NUL-terminated string).  A NULL
 * `data` removes the field.  `kind` is reserved and must be 0. */
void SetNetUserField_bn(net_bn* net, const char* name, const void* data, int length, int kind);
/* The value of the named field (NUL-terminated) and its length, or NULL and -1 when absent. */
const char* GetNetUserField_bn(const net_bn* net, const char* name, int* length, int kind);
/* The index-th field (0-based) in the order first set; name and value NULL past the end. */
void GetNetNthUserField_bn(const net_bn* net, int index, const char** name, const char** value,
                           int* length, int kind);

/* The net's nodes in creation order: a constant list managed by the net. */
const nodelist_bn* GetNetNodes_bn(const net_bn* net);

/* The node of that name, or NULL when the net has none (not an error). */
node_bn* GetNodeNamed_bn(const char* name, const net_bn* net);

/* ===================================================================== nodes */

/* Creates a node: `num_states` > 0 gives a discrete node with that many states, 0 a continuous
 * node without states.  Returns NULL on failure. */
node_bn* NewNode_bn(const char* name, int num_states, net_bn* net);

/* Removes the node's links to its children (their tables lose that dimension), then the node. */
void DeleteNode_bn(node_bn* node);

/* Duplicates `nodes` with the links among them into `new_net` (which may be their own net).
 * A copied node whose parent is not copied keeps that parent when copied within its own net, and
 * gets a disconnected node in its place when copied into another net.  Names are made unique.
 * `options`: NULL or a comma-separated list of "no_links", "no_tables", "no_nodesets",
 * "existing_nodesets", "new_nodesets_too", "all_nodesets", "dont_return_list", "shift_x",
 * "shift_y".  Returns a new list of the copies that the caller deletes with DeleteNodeList_bn
 * (NULL with "dont_return_list"), or NULL on failure. */
nodelist_bn* CopyNodes_bn(const nodelist_bn* nodes, net_bn* new_net, const char* options);

void SetNodeName_bn(node_bn* node, const char* name);
const char* GetNodeName_bn(const node_bn* node);
void SetNodeTitle_bn(node_bn* node, const char* title);
const char* GetNodeTitle_bn(const node_bn* node);
void SetNodeComment_bn(node_bn* node, const char* comment);
const char* GetNodeComment_bn(const node_bn* node);
net_bn* GetNodeNet_bn(const node_bn* node);

/* The node's position in a drawing of the net (kept in net files, used by `quorva serve` and the
 * picture formats; the engine itself ignores it).  `vis` must be NULL (5270); a position that is
 * not finite is refused (5271).  A new node is at (0, 0).  Setting it is an undoable edit. */
void SetNodeVisPosition_bn(node_bn* node, void* vis, double x, double y);
void GetNodeVisPosition_bn(const node_bn* node, void* vis, double* x, double* y);

/* Sets the kind to NATURE_NODE, CONSTANT_NODE, DECISION_NODE or UTILITY_NODE. */
void SetNodeKind_bn(node_bn* node, nodekind_bn kind);
nodekind_bn GetNodeKind_bn(const node_bn* node); /* 0 on failure */
nodetype_bn GetNodeType_bn(const node_bn* node); /* 0 on failure */

void SetNodeUserField_bn(node_bn* node, const char* name, const void* data, int length, int kind);
const char* GetNodeUserField_bn(const node_bn* node, const char* name, int* length, int kind);
void GetNodeNthUserField_bn(const node_bn* node, int index, const char** name, const char** value,
                            int* length, int kind);

/* The number of states (0 for a continuous node that is not discretized); -1 on failure. */
int GetNodeNumberStates_bn(const node_bn* node);

/* ===================================================================== states */

void SetNodeStateName_bn(node_bn* node, state_bn state, const char* state_name);
/* Names every state at once: a comma-separated list of one name per state; NULL removes them. */
void SetNodeStateNames_bn(node_bn* node, const char* state_names);
/* The state's name, or "" when the node's states have no names; NULL on failure. */
const char* GetNodeStateName_bn(const node_bn* node, state_bn state);
/* The index of the state of that name, or UNDEF_STATE when none has it. */
state_bn GetStateNamed_bn(const char* name, const node_bn* node);
void SetNodeStateTitle_bn(node_bn* node, state_bn state, const char* state_title);
const char* GetNodeStateTitle_bn(const node_bn* node, state_bn state);
void SetNodeStateComment_bn(node_bn* node, state_bn state, const char* state_comment);
const char* GetNodeStateComment_bn(const node_bn* node, state_bn state);

/* Inserts `num_states` states before `first_state` (-1 or the number of states: at the end).
 * `state_names` is NULL/"" or, when the states have names, a comma-separated list of names for
 * the new ones.  New table entries get `cpt_fill`: -1, 0 or UNDEF_DBL. */
void AddNodeStates_bn(node_bn* node, state_bn first_state, const char* state_names, int num_states,
                      double cpt_fill);
/* Removes the state and its slice from the node's tables and its children's tables. */
void RemoveNodeState_bn(node_bn* node, state_bn state);
/* new_order[i] is the old index of the state that becomes state i; one entry per state
 * (a negative entry ends a short list). */
void ReorderNodeStates_bn(node_bn* node, const state_bn* new_order);

/* For a discrete node: one level per state (`num_points` = number of states; NULL `levels` removes
 * them).  For a continuous node: `num_points`+1 increasing thresholds discretize it into
 * `num_points` states; 0 removes the discretization. */
void SetNodeLevels_bn(node_bn* node, int num_points, const level_bn* levels);
/* The levels (one per state, or number of states + 1 thresholds), or NULL when there are none. */
const level_bn* GetNodeLevels_bn(const node_bn* node);

/* ===================================================================== links */

/* Adds `parent` as the last parent of `child`; returns the link's index, or -1 on failure.
 * A link that closes a cycle without time delay, or repeats a link, is made with a warning. */
int AddLink_bn(node_bn* parent, node_bn* child);
/* Removes the link_index-th parent of `child`; its table keeps the slice at that parent's finding
 * state (state 0 when it has none). */
void DeleteLink_bn(int link_index, node_bn* child);
/* Replaces the link_index-th parent with `new_parent` (which must have as many states); NULL
 * disconnects the link and puts a new disconnected node in the parent's place. */
void SwitchNodeParent_bn(int link_index, node_bn* node, node_bn* new_parent);

/* The parents in table order and the children in the order linked: constant lists. */
const nodelist_bn* GetNodeParents_bn(const node_bn* node);
const nodelist_bn* GetNodeChildren_bn(const node_bn* node);

/* The input name of a link (NULL or "" removes it); "" when it has none. */
void SetNodeInputName_bn(node_bn* node, int link_index, const char* link_name);
const char* GetNodeInputName_bn(const node_bn* node, int link_index);

/* Sets the time delay of a link in a dimension (0 or greater) and returns the delay in force;
 * the value "~query_only~" only reads it.  A link whose delay is neither empty nor "0" does
 * not count toward cycles.  NULL on failure. */
const char* SetNodeInputDelay_bn(node_bn* node, int link_index, int dimension, const char* delay);
/* Sets the node's persistence in a dimension and returns the value in force; "~query_only~"
 * only reads it.  NULL on failure. */
const char* SetNodePersistence_bn(node_bn* node, int dimension, const char* persistence);

/* ===================================================================== node lists */

/* A new list of `length` empty entries for nodes of `net`.  NULL on failure. */
nodelist_bn* NewNodeList2_bn(int length, const net_bn* net);
/* Frees a list made by the application (not its nodes); constant lists are refused. */
void DeleteNodeList_bn(nodelist_bn* nodes);
/* The number of entries, empty ones included; -1 on failure. */
int LengthNodeList_bn(const nodelist_bn* nodes);
/* The index-th entry (may be NULL for an empty entry); NULL on failure. */
node_bn* GetNthNode_bn(const nodelist_bn* nodes, int index);
/* Inserts `node` at `index` (-1 or the length: at the end). */
void AddNodeToList_bn(node_bn* node, nodelist_bn* nodes, int index);


/* ===================================================================== node tables */
/* A node's table has the node's parents as its first dimensions, in parent order, then the node:
 * the row for parent states (s0..sm-1) starts at ((s0*n1 + s1)*n2 + ... + sm-1) * (states of the
 * node), the last parent varying fastest.  `parent_states` holds one state per parent; where a
 * function says so, EVERY_STATE in it stands for every state of that parent.  Entries that have
 * not been given read as the undefined float (UNDEF_FLT_vq).  Editing a table drops compiled
 * potentials; it never changes the net's structure. */

/* The undefined probability marker (-3.3960315e38). */
#define UNDEF_FLT_vq (-3.3960315e38f)

/* Sets the row of the CPT at `parent_states` (EVERY_STATE allowed: every matching row) to the
 * node's number of states probabilities; makes the CPT first if the node has none. */
void SetNodeProbs_bn(node_bn* node, const state_bn* parent_states, const prob_bn* probs);
/* The CPT row at `parent_states`, or with NULL the whole CPT; NULL when the node has no CPT.
 * Valid until the table changes. */
const prob_bn* GetNodeProbs_bn(const node_bn* node, const state_bn* parent_states);

/* Function tables: one state (discrete or discretized nodes) or one real value per row. */
void SetNodeFuncState_bn(node_bn* node, const state_bn* parent_states, state_bn state);
void SetNodeFuncReal_bn(node_bn* node, const state_bn* parent_states, double value);
/* UNDEF_STATE (or UNDEF_DBL) when the row holds none. */
state_bn GetNodeFuncState_bn(const node_bn* node, const state_bn* parent_states);
double GetNodeFuncReal_bn(const node_bn* node, const state_bn* parent_states);

/* Experience (0 or more) of the row at `parent_states` (EVERY_STATE allowed when setting). */
void SetNodeExperience_bn(node_bn* node, const state_bn* parent_states, double experience);
/* UNDEF_DBL when the node has no experience table. */
double GetNodeExperience_bn(const node_bn* node, const state_bn* parent_states);

/* Whether the node has a CPT or function table; `complete` (may be NULL) gets whether every entry
 * is defined. */
bool_vq HasNodeTable_bn(const node_bn* node, bool_vq* complete);
/* Whether the node's value follows from its parents: a function table, or a CPT every defined row
 * of which holds a single 1. */
bool_vq IsNodeDeterministic_bn(const node_bn* node);
/* Removes the node's CPT, function and experience tables. */
void DeleteNodeTables_bn(node_bn* node);

/* Reads a table, or the sub-table at `parent_states` (EVERY_STATE entries vary, in parent order,
 * rows of the CPT whole), as doubles.  `which_table`: "cpt", "exper", "function_state" or
 * "function_real".  `size_parent_states` is the number of parents (0 with NULL parent_states).
 * With `table` given, *size_table is its capacity; it is filled and returned.  With `table` NULL
 * (only for the whole table or one entry), *size_table must be 0 and an engine-owned copy is
 * returned.  *size_table (when given) receives the number of entries.  NULL on failure. */
const double* GetNodeTable_bn(const node_bn* node, const char* which_table, const state_bn* parent_states,
                              int size_parent_states, double* table, int* size_table);
/* Sets a table, or the sub-table at `parent_states`, from `size_table` doubles in the layout of
 * GetNodeTable_bn.  A NULL table with NULL parent_states removes that table. */
void SetNodeTable_bn(node_bn* node, const char* which_table, const state_bn* parent_states,
                     int size_parent_states, const double* table, int size_table);

/* ===================================================================== findings */
/* A node's finding has three parts kept consistent: a single state, a real value, and a
 * likelihood (one entry per state, each 0..1).  Entering or retracting a finding makes the net's
 * beliefs stale; a refused finding leaves the previous one in force. */

#define BELIEF_UPDATE 256 /* SetNetAutoUpdate_bn: recompute beliefs as soon as findings change */

/* The node is in `state` (UNDEF_STATE does nothing).  Refused with 3300 (state too large), 3301
 * (negative), 3310 (contradicts the present finding: retract it first), 3313 (ruled out by a
 * likelihood), 3315 (the node's own table fixes another value), 3319 (the parents' findings
 * fix another value) or 3302 (impossible given the other findings). */
void EnterFinding_bn(node_bn* node, state_bn state);
/* The node is not in `state`: combined with the present likelihood by multiplication. */
void EnterFindingNot_bn(node_bn* node, state_bn state);
/* The action that puts the node in `state` (or at `value`) is taken. */
void EnterAction_bn(node_bn* node, state_bn state);
void EnterActionValue_bn(node_bn* node, double value);
/* A randomized action: one probability per state. */
void EnterActionRandomized_bn(node_bn* node, const prob_bn* probs);
/* A real value; on a discretized node or a node with levels it also sets the state it falls in. */
void EnterNodeValue_bn(node_bn* node, double value);
/* A likelihood: one entry 0..1 per state, not all 0; combined with the present one. */
void EnterNodeLikelihood_bn(node_bn* node, const prob_bn* likelihood);
/* Beliefs the node is to be made to read: one probability per state, summing to 1. */
void EnterNodeCalibration_bn(node_bn* node, const prob_bn* calibration);
/* The value lies in [low, high] (state numbers for a discrete node). */
void EnterIntervalFinding_bn(node_bn* node, double low, double high);
/* A normally distributed likelihood over a discretized continuous node. */
void EnterGaussianFinding_bn(node_bn* node, double mean, double std_dev);

/* 0..n-1 (a single state is known), UNDEF_STATE (none), LIKELIHOOD_FINDING, NEGATIVE_FINDING, or
 * -1 (an all-zero likelihood).  -1 as well on failure. */
state_bn GetNodeFinding_bn(const node_bn* node);
/* The real value entered, or UNDEF_DBL. */
double GetNodeValueEntered_bn(const node_bn* node);
/* The node's findings as one likelihood vector (all 1 with none); valid until they change. */
const prob_bn* GetNodeLikelihood_bn(const node_bn* node);
void RetractNodeFindings_bn(node_bn* node);
/* Retracts the findings of every node but the constant ones. */
void RetractNetFindings_bn(net_bn* net);
/* 0 or BELIEF_UPDATE; returns the setting before, -1 on failure. */
int SetNetAutoUpdate_bn(net_bn* net, int auto_update);
/* Whether the node's beliefs have been computed since its net's findings last changed. */
bool_vq IsBeliefUpdated_bn(const node_bn* node);

/* ===================================================================== listeners */
typedef enum {
  CREATE_EVENT = 0x01,    /* a node was made in the net (info: the node_bn*) */
  DUPLICATE_EVENT = 0x02, /* the net or node was copied (info: the copy) */
  REMOVE_EVENT = 0x04,    /* the net or node is about to be deleted */
  CHANGE_EVENT = 0x08     /* the node's finding changed */
} eventtype_vq;

/* Callbacks return 0 or more; they may call the API. */
typedef int (*netlistener_bn)(const net_bn* net, eventtype_vq what, void* object, void* info);
typedef int (*nodelistener_bn)(const node_bn* node, eventtype_vq what, void* object, void* info);
/* Registers `callback` with `object` for the events in `filter`; a filter of 0 removes the
 * registration of that callback and object. */
void AddNetListener_bn(net_bn* net, netlistener_bn callback, void* object, int filter);
void AddNodeListener_bn(node_bn* node, nodelistener_bn callback, void* object, int filter);

/* ===================================================================== more node lists */
/* Lists the engine returns (a net's nodes, a node's parents) are constant: they cannot be changed
 * or deleted. */
/* Removes and returns the entry at `index` (-1: the last). */
node_bn* RemoveNthNode_bn(nodelist_bn* nodes, int index);
void SetNthNode_bn(nodelist_bn* nodes, int index, node_bn* node);
/* The first position of `node` at or after `start_index`, or -1. */
int IndexOfNodeInList_bn(const node_bn* node, const nodelist_bn* nodes, int start_index);
/* A new, non-constant copy. */
nodelist_bn* DupNodeList_bn(const nodelist_bn* nodes);
void ClearNodeList_bn(nodelist_bn* nodes);

/* ===================================================================== node sets */
/* User sets follow the name rule; built-in sets (":Finding", ":Discrete", ... ":Node") have
 * computed members. */
/* Puts the node in the set, making the set when the net has none of that name. */
void AddNodeToNodeset_bn(node_bn* node, const char* nodeset);
void RemoveNodeFromNodeset_bn(node_bn* node, const char* nodeset);
bool_vq IsNodeInNodeset_bn(const node_bn* node, const char* nodeset);
/* The net's set names separated by commas, highest priority first; with `include_system` the
 * built-in sets follow.  `vis` is reserved (NULL). */
const char* GetAllNodesets_bn(const net_bn* net, bool_vq include_system, void* vis);
/* Makes the listed sets the highest-priority ones, the first the very highest. */
void ReorderNodesets_bn(net_bn* net, const char* nodeset_order, void* vis);
/* Sets the set's colour (0xRRGGBB; -1 only reads) and returns the colour before (-1: none). */
int SetNodesetColor_bn(const char* nodeset, int color, net_bn* net, void* vis);

/* ===================================================================== random generators */
/* Every random choice of the engine draws from a generator (xorshift1024* seeded by SplitMix64),
 * so that runs are reproducible from a seed.  The environment has a default generator, seeded
 * with 0 when the environment is made; a net given a generator of its own draws from that one
 * instead.  A generator made here must be used by one thread at a time. */

/* Makes a generator of `env`.  `seed` is either a whole number of at most 18 decimal digits (the
 * same seed gives the same sequence; "0" gives that of the environment's default generator), or
 * a state string from GetRandomGenState_vq (the new generator continues that sequence), or NULL
 * to seed from the clock.  `options` must be NULL or "".  Refused seeds: 3840 (not an integer of
 * at most 18 digits), 3841 (negative), 3612 (state string too short), 3839 (not a hex digit in a
 * state string).  Returns NULL on failure. */
randgen_vq* NewRandomGenerator_vq(const char* seed, environ_vq* env, const char* options);

/* The generator's state as text (273 characters), valid until the next call on the generator.
 * `options` must be NULL or "".  NULL on failure. */
const char* GetRandomGenState_vq(randgen_vq* rand, const char* options);

/* Fills results[0..num-1] with uniform numbers in [0, 1) (1 never occurs) and returns the first;
 * with `num` 0 draws nothing and returns UNDEF_DBL.  `options` must be NULL or "".
 * Returns -1 on failure. */
double GenerateRandomNumbers_vq(randgen_vq* rand, double* results, int num, const char* options);

/* Frees the generator.  A net that drew from it goes back to the environment's default. */
void DeleteRandomGen_vq(randgen_vq* rand);

/* Gives the net its own generator, of the net's environment; NULL goes back to the environment's
 * default.  With `is_private` the net takes the generator over: it is deleted with the net, or
 * when the net is given another, and the application should no longer use it. */
void SetNetRandomGen_bn(net_bn* net, randgen_vq* rand, bool_vq is_private);

typedef enum { DEFAULT_SAMPLING = 0, JOIN_TREE_SAMPLING = 1, FORWARD_SAMPLING = 2 } sampling_bn;
/* Draws a case from the net's distribution given its findings and enters it as state findings of
 * the listed nodes (all of one net), replacing theirs.  Forward sampling (the default) draws
 * parents first and repeats until a case agrees with the findings; junction-tree sampling
 * compiles the net if needed and draws each listed node given the findings and the nodes drawn
 * before it.  `rand` NULL draws from the net's generator.  Returns 0, or -1 when no case was found
 * within `timeout` seconds (no limit when 0 or less) or on an error (findings left as they were). */
int GenerateRandomCase_bn(const nodelist_bn* nodes, sampling_bn method, double timeout, randgen_vq* rand);

/* ===================================================================== compiling and beliefs */
/* Compiling builds the junction tree (moral graph, elimination order, cliques, home cliques).
 * Structural changes uncompile a net; table changes keep it compiled and rebuild its potentials;
 * findings only re-enter what changed. */

/* Compiles the net (nothing when compiled).  A net with a directed cycle, or a node without
 * states (continuous, not discretized), is refused ("can't compile >-net '%s', because %s"). */
void CompileNet_bn(net_bn* net);
void UncompileNet_bn(net_bn* net);
/* The total size (entries) of the cliques and separators; `method` must be 0.  -1 on failure. */
double SizeCompiledNet_bn(net_bn* net, int method);
/* A text report of the junction tree; valid until the next report.  NULL on failure. */
const char* ReportJunctionTree_bn(net_bn* net);
/* Sets the order in which compiling eliminates nodes (every node but utility nodes, once each);
 * NULL removes it.  A different order uncompiles the net. */
void SetNetElimOrder_bn(net_bn* net, const nodelist_bn* elim_order);
/* The stored order, or NULL when none is set (a constant list). */
const nodelist_bn* GetNetElimOrder_bn(const net_bn* net);

/* The node's beliefs given the findings, one per state, summing to 1; updates the net first.
 * Valid until the net changes.  NULL on failure (not compiled, inconsistent findings). */
const prob_bn* GetNodeBeliefs_bn(node_bn* node);
/* The probability of the findings entered.  -1 on failure. */
double FindingsProbability_bn(net_bn* net);
/* The mean of the node's value under its beliefs, from its state levels (or interval midpoints,
 * or state numbers when it has no levels); `std_dev` gets the standard deviation; `x3`, `x4` are
 * reserved (may be NULL).  UNDEF_DBL on failure. */
double GetNodeExpectedValue_bn(node_bn* node, double* std_dev, double* x3, double* x4);
/* The most probable state of every node of `nodes` given the findings, written into `config`
 * (one entry per list entry). */
void MostProbableConfig_bn(const nodelist_bn* nodes, state_bn* config, int nth);
/* The probability that the listed nodes are in the given states, given the findings. */
double JointProbability_bn(const nodelist_bn* nodes, const state_bn* states);
/* The probability that the listed nodes are in the given states and the findings hold (the
 * probability of the findings when the list is empty). */
double GetJointProbability_bn(const nodelist_bn* nodes, const state_bn* states);

/* ===================================================================== streams */
/* A stream is the object through which nets, cases and other files are read and written: bound
 * to a file path, or holding its bytes in memory.  Streams belong to their environment, which
 * frees any still open when it is closed. */

/* A stream over the file `filename` (the path as given).  The file is opened only when the stream
 * is read or written, and closed afterwards; nothing is checked about it here.  A write that
 * replaces the file (a net, a caseset, drawn cases) goes to a temporary file beside it,
 * "<filename>.tmp-XXXXXX", renamed over the file only once every byte is written: a write that
 * fails leaves the previous file as it was.  An append that fails is cut back off.  `access` must be
 * NULL.  Errors: 5260 (access not NULL), 5107 or 5263 (a NULL or empty file name).
 * Returns NULL on failure. */
stream_vq* NewFileStream_vq(const char* filename, environ_vq* env, const char* access);

/* An empty stream in memory.  `name` (may be NULL) names it in messages, which otherwise say
 * "In-memory File"; a name ending in ".qova" marks the binary format.  `access` must be NULL
 * (5260).  Returns NULL on failure. */
stream_vq* NewMemoryStream_vq(const char* name, environ_vq* env, const char* access);

/* Replaces the bytes of a memory stream with the `length` bytes at `buffer`.  With `copy` the
 * stream keeps a copy of its own; without, it reads `buffer` in place, and the caller keeps the
 * buffer alive and unchanged until the contents are replaced or the stream is deleted.  Errors:
 * 5261 (negative length), 5262 (a file stream), 2183 (no memory for the copy). */
void SetStreamContents_vq(stream_vq* stream, const char* buffer, long long length, bool_vq copy);

/* The bytes of a memory stream (what was set, or what has been written to it) and, through
 * `length` (may be NULL), their count.  The buffer belongs to the stream and is valid until the
 * stream changes or is deleted; bytes the stream owns are followed by a zero byte.  Refused for
 * a file stream (5262).  NULL on failure. */
const char* GetStreamContents_vq(stream_vq* stream, long long* length);

/* Frees the stream and its buffer; its handle becomes invalid. */
void DeleteStream_vq(stream_vq* stream);

/* Sets the encryption password of a stream in the binary format (its name ends in ".qova");
 * NULL or "" removes it.  Any other stream is refused with 2643. */
void SetStreamPassword_vq(stream_vq* stream, const char* password);

/* ===================================================================== net files */

/* Writes the whole net to `file`, replacing what the stream held: as BIF, XMLBIF, Hugin NET, UAI
 * or DOT when the stream's name ends as those formats' extensions (see WriteNetFormat_bn), as a BIF
 * file when it ends in ".bif", otherwise as a DNET text file (in the format version of the setting
 * "Version_of_format_to_make_DNET_and_QOVA_files").  Fields that still have the values of a new
 * net or node are left out.  Errors: a NULL or deleted net or stream, a table too large to save
 * (3650), the stream's write faults. */
void WriteNet_bn(const net_bn* net, stream_vq* file);

/* Options of ReadNet_bn.  The engine keeps no display information, so all four read the same
 * (visual objects in the file are passed over); the last three concern the window an interactive
 * application opens for the net. */
#define NO_VISUAL_INFO 0x10
#define NO_WINDOW 0x20
#define MINIMIZED_WINDOW 0x30
#define REGULAR_WINDOW 0x40

/* Reads a net from `file`: a BIF file when the stream's name ends in ".bif", XMLBIF for ".xml",
 * ".xbif" and ".xmlbif", Hugin NET for ".net", UAI for ".uai" (see ReadNetFormat_bn), otherwise a
 * DNET text file.  The net belongs to the environment of the stream.  Nodes may name parents that
 * are declared later in the file.  Each fault is an error record whose message ends with where
 * it was found (", while reading field `probs` of node 'A', on line 12 char 9 of file 'x.dne'");
 * the first error ends the read and nothing is returned.  Unknown fields and objects, and a
 * format version outside 1.00 to 2.09, give warnings and the read goes on.  `options` must be
 * one of the four constants above (2410).  NULL on failure. */
net_bn* ReadNet_bn(stream_vq* file, int options);

/* ===================================================================== case files */
/* A case file is a text table of cases: a header line of column names, then one line per case
 * with one value per column, separated by the delimiter (tab by default; comma or space).  Columns
 * name nodes; the column "IDnum" holds a case's identifier (a non-negative integer) and
 * "NumCases" its frequency (how many times it occurred).  A value is a state name, a state title
 * in double quotes, "#" and a state number, a number (a continuous node's value, or the level of
 * a discrete node's state), a likelihood written "[p0;p1;...]", or the missing-data character
 * ("*" by default) for no finding.  Lines end in CR LF when written; "//", "slash-star" and "/#"
 * comments are skipped when read.  The settings-file key "Write_case_file_header" (off by
 * default) makes new files begin with the magic line "// ~->[CASE-1]->~" and a creator comment;
 * "Case_file_value_form" sets the initial form of SetCaseFileValueForm_vq. */

typedef struct caseset_cs caseset_cs; /* a set of cases, held in case files */
typedef long long caseposn_bn;        /* the position of a case in its file, or one below */

#define FIRST_CASE (-15)    /* read the first case of the file */
#define NEXT_CASE (-14)     /* read the case after the one last read from the stream */
#define NO_MORE_CASES (-13) /* returned when the file has no further case */

/* What a reader does with a column naming no node of the net. */
typedef enum {
  DONT_ADD_NEW = 0,      /* ignore it; ignored columns are listed in a notice */
  QUERY_ADD_NEW = 1,     /* ask (with no one to answer: a notice asks, and it is ignored) */
  PRINT_AND_ADD_NEW = 2, /* add a continuous node of that name, with a notice */
  QUIETLY_ADD_NEW = 3    /* add a continuous node of that name */
} addnew_bn;

/* Appends one case to `file`: the current findings of `nodes`, with the identifier `id_num` (-1
 * for none) and the frequency `freq`.  A new or empty file first gets the header line: " IDnum"
 * when id_num is 0 or more, "NumCases" when freq is not 1, then the node names.  A file that has a
 * header keeps its columns (a column naming no node of the list is written missing; an id or a
 * frequency other than 1 without its column is refused, 2091 and 2090).  Returns 0, or -1 on
 * failure.  Errors: 5579 (id_num below -1), 5580 (freq below 0), the stream's write faults. */
long WriteNetFindings_bn(const nodelist_bn* nodes, stream_vq* file, long id_num, double freq);

/* Reads a case of `file` into the findings of `nodes` (all of one net), replacing their findings;
 * listed nodes whose value is missing lose theirs.  `*case_posn` is FIRST_CASE, NEXT_CASE or a
 * position returned before; it receives the position of the case read, or NO_MORE_CASES after
 * the last (a NEXT_CASE after that starts over, with a warning).  `id_num` and `freq` (may be
 * NULL) receive the case's IDnum (-1 without) and NumCases (1 without).  A case with a value that
 * names no state is skipped with a warning (2103) and the next one read.  A refused value leaves
 * every finding as it was; the next NEXT_CASE goes on after the faulty line.  Columns naming no
 * node of the net are ignored.  Errors: 2111 (no cases), 2100-2107 (faulty values and lines, with
 * the case, line, character and file), 3893, 2081, 2083, 2084, 2113, and the finding checks. */
void ReadNetFindings_bn(caseposn_bn* case_posn, stream_vq* file, const nodelist_bn* nodes,
                        long* id_num, double* freq);

/* As ReadNetFindings_bn; with `add`, the listed nodes whose value is missing keep their
 * findings. */
void ReadNetFindings2_bn(caseposn_bn* case_posn, stream_vq* file, bool_vq add, const nodelist_bn* nodes,
                         long* id_num, double* freq);

/* As ReadNetFindings2_bn, with columns naming no node of the net treated by `add_new`; nodes it
 * adds are read too.  Error 5582 for another mode. */
void ReadNetFindings3_bn(caseposn_bn* case_posn, stream_vq* file, bool_vq add, const nodelist_bn* nodes,
                         addnew_bn add_new, long* id_num, double* freq);

/* Sets the delimiter of the case files the environment writes (and prefers when reading): ',',
 * ' ' or '\t'; -1 only queries.  Returns the previous one, or -1 on failure.  Errors: 5574 (another
 * character), 5575 (not a comma while the missing-data character is absent or a space). */
int SetCaseFileDelimChar_vq(int newchar, environ_vq* env);

/* Sets the missing-data character: 0 (absent: written as nothing), ' ', '*', '?' or '-'; -1 only
 * queries.  Returns the previous one, or -1 on failure.  Errors: 5576 (another character), 5577
 * (absent or a space while the delimiter is not a comma). */
int SetMissingDataChar_vq(int newchar, environ_vq* env);

/* Sets how a state is written: 0 its name, 1 its title, 2 its level (and real values for every
 * node that has one), 3 "#" and its number; a form the node lacks falls to the next.  -1 only
 * queries.  Returns the previous form, or -1 on failure (5578). */
int SetCaseFileValueForm_vq(int form, environ_vq* env);

/* An empty caseset named `name` (may be NULL), owned by `env` until deleted or the close. */
caseset_cs* NewCaseset_cs(const char* name, environ_vq* env);

/* Adds the cases of the case file `file` to the caseset, each weighted by `degree` (0 or more,
 * 5584).  The file is read through and checked; a refused file leaves the caseset as it was.
 * The caseset keeps the stream, not the cases: the file is read again when the caseset is
 * written.  `options` must be NULL or "" (5583). */
void AddFileToCaseset_cs(caseset_cs* cases, stream_vq* file, double degree, const char* options);

/* Writes every case of the caseset to `file` (replacing its contents) as one case file: the
 * union of the columns of its files, missing where a file lacks a column, NumCases multiplied by
 * the file's degree.  `options` must be NULL or "" (5583).  Error 2115 when a file of the
 * caseset has been deleted. */
void WriteCaseset_cs(const caseset_cs* cases, stream_vq* file, const char* options);

/* Frees the caseset (not its streams); its handle becomes invalid. */
void DeleteCaseset_cs(caseset_cs* cases);

/* ===================================================================== equations */

/* Gives the node an equation: its value, or the probability of its states, as a function of its
 * parents.  Two forms (link names stand for parents where links are named; "f" may stand for the
 * node's name in the first form):
 *   Y (A, B) = A + 2 * B                 deterministic: Y's value
 *   P (Y | A, B) = NormalDist (Y, A, B)  probabilistic: the probability (density) of Y's value
 * The text is parsed against the node's parents and states before it is kept; a text that does
 * not parse leaves the node as it was and records the parse error (numbers 2010-2499, 3989; the
 * message ends with the line and character).  NULL or "" removes the equation.  The text is kept
 * exactly as given; the node's tables are not changed.
 *
 * Operators, loosest first: "?" ":" (700, groups right), "||" (800), "&&" (900), "==" "!="
 * (1200), "<" ">" "<=" ">=" "~=" (1300), "+" "-" (1500), "*" "/" "%" (remainder) "%%" (modulo)
 * (1600), "^" (1700, groups right), prefix "-" and "!" (2000).  Constants: pi, deg, Infinity,
 * true, false.  "#" before a number makes it a state index, before a discretized continuous
 * variable the index of its interval; State--Var names a state of Var.
 *
 * Parameters of the distributions (x, the value, comes first in each):
 *   UniformDist (x, lo, hi)          TriangularDist (x, centre, halfwidth)
 *   Triangular3Dist (x, lo, mode, hi)
 *   TriangularEnd3Dist (x, end, mode, mean): the triangle with one end given, its mode and its
 *                                   mean; the other end is 3 mean - end - mode (a mode at the
 *                                   given end makes a right-angled triangle)
 *   NormalDist (x, mean, sd)         LognormalDist (x, mu, sigma) of log x
 *   GammaDist (x, shape, scale)      WeibullDist (x, shape, scale)
 *   BetaDist (x, alpha, beta)        Beta4Dist (x, alpha, beta, lo, hi)
 *   BetaPertDist (x, lo, mode, hi): Beta4Dist with alpha = 1 + 4 (mode - lo) / (hi - lo) and
 *                                   beta = 1 + 4 (hi - mode) / (hi - lo)
 *   ExponentialDist (x, rate)        LaplaceDist (x, location, scale)
 *   LogisticDist (x, location, scale)  ExtremeValueDist (x, location, scale): the largest-value
 *                                   (Gumbel) form, cumulative exp (-exp (-(x - location) / scale))
 *   ParetoDist (x, scale, shape): shape scale^shape / x^(shape + 1) for x >= scale
 *   LevyDist (x, location, scale)    CauchyDist (x, location, scale)
 *   ChiSquareDist (x, degrees)       StudentTDist (x, degrees)   FDist (x, degrees1, degrees2)
 *   SingleDist (x, v)                BernoulliDist (x, p)        DiscUniformDist (x, lo, hi)
 *   BinomialDist (x, n, p)           PoissonDist (x, lambda)
 *   HypergeometricDist (x, population, successes, draws): x successes in the draws
 *   NegBinomialDist (x, r, p): x failures before the r-th success, each try succeeding with p
 *   GeometricDist (x, p): x failures before the first success
 *   LogarithmicDist (x, p): -p^x / (x log (1 - p)) for x = 1, 2, ...
 *   MultinomialDist (n, k1, p1, k2, p2, ...): the probabilities p are normalised to sum 1
 *   NoisyOrDist (out, leak, cause1, p1, cause2, p2, ...): out is true with probability
 *                                   1 - (1 - leak) times the product of (1 - p) over true causes
 *   NoisyAndDist (out, leak, cause1, p1, ...): out is false with probability
 *                                   1 - (1 - leak) times the product of (1 - p) over false causes
 *   NoisyOrMultiDist (out, k, leak_0, ..., leak_k, cond1, p1, state1, cond2, ...): out has
 *                                   states 0 (normal) to k; the leak alone gives state s with
 *                                   leak_s; each true condition independently triggers its state
 *                                   (1 to k) with its p; out is the highest state given, so
 *                                   P(out <= s) = (leak_0 + ... + leak_s) times the product of
 *                                   (1 - p) over true clauses whose state is above s
 *   NoisyMaxTableDist (out, k, leak_0, ..., leak_k-1, cause1, v1_0, v1_1, ..., cause2, ...): k is
 *                                   out's number of states; after each cause (a discrete or
 *                                   discretized parent, read as its state index) one vector of k
 *                                   probabilities per state of the cause, its first state first:
 *                                   the chance of each state of out caused by that state alone.
 *                                   out is the highest state given by the leak and the causes, so
 *                                   P(out <= s) is the product of the vectors' sums up to s.  The
 *                                   probabilities are numbers written out, each vector summing to 1.
 *   NoisySumTableDist: the layout of NoisyMaxTableDist over continuous discretized causes, each
 *                                   vector summing to at most 1; evaluated only by converting the
 *                                   equation to a table
 * Randomized functions (deterministic equations only): UniformRand (lo, hi), NormalRand (mean,
 * sd), BernoulliRand (p), DiscUniformRand (lo, hi) (whole numbers lo to hi inclusive). */
void SetNodeEquation_bn(node_bn* node, const char* eqn);

/* The node's equation text exactly as set ("" when it has none), owned by the node and valid
 * until its equation next changes; NULL on failure. */
const char* GetNodeEquation_bn(const node_bn* node);

/* Builds the node's table from its equation, row by row over its parents' states:
 *   probabilistic equation -> CPT;
 *   deterministic, continuous node with one sample per row, no discretization, or of kind
 *     UTILITY_NODE -> real function table (the mean of the samples);
 *   deterministic with no continuous parent -> state function table (one evaluation per row);
 *   deterministic with continuous parents -> CPT counting the states the samples give.
 * A continuous parent takes values drawn inside the interval of its state; a continuous node with
 * a probabilistic equation takes each interval's probability from the distribution's cumulative
 * routine when the equation is a continuous distribution of the node, else from weighted draws.
 * num_samples (1 or more) is the draws per row; with nothing to draw each row takes one.  Draws
 * come from the net's random generator, or the environment's: one draw seeds the conversion, so a
 * fixed seed gives the same table whatever the number of threads that build it.
 * samp_unc (0 or 1): 1 keeps the number of samples of each row as its experience.
 * add_exist: 1 adds to the existing CPT (a defined row counts as its probabilities times its
 * experience, or times 1 without experience; the new row as its number of samples); 0 removes the
 * node's tables first.  Function tables always replace the node's tables.
 * Rows whose probabilities are all zero become uniform, with a warning.  Any fault (an evaluation
 * error, a value that names no state; the message names the row's parent values) leaves the node's
 * tables as they were; a halt keeps the rows built so far and leaves the others undefined. */
void EquationToTable_bn(node_bn* node, int num_samples, bool_vq samp_unc, bool_vq add_exist);

/* ===================================================================== sensitivity to findings */
/* How much would a finding at one of several other nodes (the "wiggle" nodes) change the beliefs
 * of a target node?  A sensitivity object answers for one target and a list of wiggle nodes.
 * The first query after creation, or after the net's findings, tables or structure changed, runs
 * one pass over the target's states: for each state t of positive probability the target is put
 * in t for the moment, the beliefs are updated once and every wiggle node's beliefs P(w | t) are
 * read.  Every measure for every wiggle node comes from that pass (one belief update per target
 * state, whatever the number of wiggle nodes); the results are kept until the net's findings,
 * tables or structure change again.  The target's finding is put back after the pass, so the
 * net's findings after any query are those before it (no finding events are sent); its beliefs
 * are then updated again when next read.
 *
 * With P(t) the target's beliefs, P(w) a wiggle node W's and P(t | w) = P(t) P(w | t) / P(w)
 * (P(t) itself where P(w) is 0), and value(t) the target's value in state t (the midpoint of its
 * interval for a discretized node, else its level), the measures are:
 *   mutual information (entropy reduction), in bits:
 *       I(T; W) = sum_t,w P(t) P(w | t) log2 (P(w | t) / P(w))
 *   target entropy, in bits:                H(T) = - sum_t P(t) log2 P(t)
 *   sensitivity ratio of (w, t):            P(w | t) / P(w)  (1 where P(w) or P(t) is 0)
 *   variance of belief change of t:         sum_w P(w) (P(t | w) - P(t))^2
 *   amount of belief change of t (RMS):     the square root of the variance of belief change
 *   range of belief change of t:            the least and greatest P(t | w) over w with P(w) > 0
 *   belief variance (variance of beliefs):  sum_t sum_w P(w) (P(t | w) - P(t))^2, at most
 *                                           1 - sum_t P(t)^2 (reached when W fixes the target)
 *   real mean given w:                      E[V | w] = sum_t P(t | w) value(t)
 *   variance reduction:                     Var(V) - sum_w P(w) Var(V | w)
 *                                           = sum_w P(w) (E[V | w] - E[V])^2, at most Var(V)
 * A target state of probability 0 adds nothing to any measure; a wiggle node independent of the
 * target has mutual information 0 and every ratio 1.  The net must be compiled when a measure is
 * read ("can't update beliefs because >-net '%s' needs to be compiled", 3044), and its findings
 * must be possible (3045). */

typedef struct sensv_bn sensv_bn; /* sensitivity of one node to findings at others */

/* Bits of the `what` mask: the measures a sensitivity object may be asked for. */
#define BELIEF_SENSV 0x01   /* amount of belief change (RMS change) of each target state */
#define ENTROPY_SENSV 0x02  /* entropy reduction (mutual information), and the target's entropy */
#define REAL_SENSV 0x04     /* the target's mean value given each wiggle state */
#define NODEVAR_SENSV 0x08  /* variance of the target's beliefs (belief variance) */
#define RATIO_SENSV 0x10    /* sensitivity ratios */
#define VARIANCE_SENSV 0x100 /* with BELIEF_SENSV: variance of belief change; with REAL_SENSV: variance reduction */
#define RANGE_SENSV 0x200   /* with BELIEF_SENSV: least and greatest belief of each target state */

/* A sensitivity object for `target` (a node with states, neither constant nor utility) and the
 * nodes of `wiggle_nodes` (of the target's net; the list is copied).  The list is kept filtered to
 * nature, decision and disconnected nodes with states, each once: others are dropped without a
 * message.  `what` is a sum of the bits above (5240 for others).  Nothing is computed yet.
 * Errors: 5241 (target without states), 5242 (constant or utility target).  The object belongs to the caller (DeleteSensvToFinding_bn); it stops working
 * when its net is deleted.  NULL on failure. */
sensv_bn* NewSensvToFinding_bn(const node_bn* target, const nodelist_bn* wiggle_nodes, int what);

/* Frees the object; its handle becomes invalid. */
void DeleteSensvToFinding_bn(sensv_bn* sensv);

/* The accessors below share these errors: 2516 (a wiggle node that is not in the filtered list),
 * 2376 (a wiggle node that cannot be one: "...because it is a utility >-node"), 2517-2525 (a
 * measure whose bit was not in `what`: "currently requesting ... but earlier didn't ask for that
 * (ENTROPY_SENSV) to be calculated"), 3044 and 3045 (above), and range errors for states. */

/* The mutual information of the target and `wiggle` in bits; asked for the target itself
 * (whether or not it is in the list), the target's entropy.  Needs ENTROPY_SENSV (2520).
 * -1 on failure. */
double GetSensvMutualInfo_bn(sensv_bn* sensv, const node_bn* wiggle);

/* The expected reduction of the variance of the target's value by a finding at `wiggle`.  Needs
 * REAL_SENSV (2519) and VARIANCE_SENSV (2518); the target must have levels or intervals (2333)
 * with finite ends (2332).  -1 on failure. */
double GetSensvVarianceReduction_bn(sensv_bn* sensv, const node_bn* wiggle);

/* The belief variance of the target over findings at `wiggle`.  Needs NODEVAR_SENSV (2521).
 * -1 on failure. */
double GetSensvBeliefVariance_bn(sensv_bn* sensv, const node_bn* wiggle);

/* The target's mean value once `wiggle` is found in `wiggle_state`.  Needs REAL_SENSV (2517),
 * and values as for the variance reduction (2333, 2332).  UNDEF_DBL on failure. */
double GetSensvRealMean_bn(sensv_bn* sensv, const node_bn* wiggle, state_bn wiggle_state);

/* The ratio P(wiggle_state | target_state) / P(wiggle_state).  Needs RATIO_SENSV (2522).
 * -1 on failure. */
double GetSensvRatio_bn(sensv_bn* sensv, const node_bn* wiggle, state_bn wiggle_state, state_bn target_state);

/* The amount (RMS) of change of the target's belief in `target_state` that a finding at `wiggle`
 * makes.  Needs BELIEF_SENSV (2523).  -1 on failure. */
double GetSensvBeliefChange_bn(sensv_bn* sensv, const node_bn* wiggle, state_bn target_state);

/* The variance of the target's belief in `target_state` over findings at `wiggle`.  Needs
 * BELIEF_SENSV (2523) and VARIANCE_SENSV (2524).  -1 on failure. */
double GetSensvBeliefChangeVariance_bn(sensv_bn* sensv, const node_bn* wiggle, state_bn target_state);

/* The least (`min_belief`) and greatest (`max_belief`) belief of the target in `target_state`
 * that a finding at `wiggle` can give.  Needs BELIEF_SENSV (2523) and RANGE_SENSV (2525).
 * Returns 0, or -1 on failure (the outputs are then left as they were). */
int GetSensvBeliefRange_bn(sensv_bn* sensv, const node_bn* wiggle, state_bn target_state, double* min_belief,
                           double* max_belief);

/* ===================================================================== learning tables from cases */
/* Counting learning keeps each learnt node's CPT as counts: per parent configuration (row) and
 * state, the weighted number of cases seen, on top of the prior.  The CPT row is the counts over
 * their sum, and the sum is the row's experience (GetNodeExperience_bn), so the CPT and the
 * experience table together hold the counts.  Before a node's first case:
 * - a node with no CPT starts each row at its experience divided evenly among the states; with no
 *   experience table either, at a prior count of 1 per row (1 / number of states per cell); an
 *   experience table that varies from row to row is refused (3626);
 * - a node with a CPT must have all its probabilities given (2473) and an experience table (2474);
 *   its counts are the probabilities times the row's experience;
 * - a continuous node without states (3059) and a table of more than 400,000,000 entries (3625)
 *   are refused.
 * These refusals read "for >-node NAME, MESSAGE".  Only nature and disconnected nodes are learnt;
 * a node whose state or some parent's state is unknown in a case is left as it is for that case.
 * A likelihood with exactly one non-zero entry counts as that state.  Revising changes tables:
 * beliefs must be updated again, the compiled form is kept. */

/* Revises the CPTs of `nodes` (all of one net) by the case the entered findings make, adding
 * `degree` to the count of the case's row and state (a negative degree unlearns).  `updating`
 * must be 0 (5700).  Nodes are revised in turn; a refusal leaves the node that refused as it was
 * and the earlier ones revised.  Errors: 5184 (a deleted node in the list), 2190 (unlearning more
 * than was learnt; a count left between -2e-6 and 0 is taken as 0), and the refusals above. */
void ReviseCPTsByFindings_bn(const nodelist_bn* nodes, int updating, double degree);

/* Revises the CPTs of `nodes` by every case of the case file `file`, each weighted by `degree`
 * times its NumCases (1 without that column).  The file is read a line at a time under the
 * progress monitor "incorporating cases".  All or nothing: on a refusal every table stays as it
 * was.  A case with a value naming no state is skipped with a warning (2103); a faulty value or
 * line ends the call (2100-2107).  A halt keeps the cases read so far, with warning 3385.
 * `updating` must be 0 (5700).  Errors: 5184, 2189 (unlearning more than was learnt, with the case
 * and file), 3384 (no listed node has a case with its whole family known), the refusals above,
 * and those of case files. */
void ReviseCPTsByCaseFile_bn(stream_vq* file, const nodelist_bn* nodes, int updating, double degree);

/* Fades the node's CPT: each count c becomes c (1 - degree) + degree, so that each row moves
 * toward uniform and older cases weigh less than newer ones.  `degree` lies in 0 to 1 (5701); 0
 * changes nothing.  Errors: 3627 (the node has no CPT), and the refusals above. */
void FadeCPTable_bn(node_bn* node, double degree);

/* The learner: learns the CPTs of nodes from the cases of a caseset by one method.
 * - COUNTING_LEARNING: counting learning, as ReviseCPTsByCaseFile_bn over each file of the
 *   caseset (each case weighted by degree times the file's degree times its NumCases).
 * - EM_LEARNING: expectation-maximisation, for cases with missing values.  Each iteration takes
 *   the expected count of every row and state of each learnt node given each case (from the
 *   compiled net: one belief update per case), adds the node's counts from before learning as the
 *   prior (see above), and makes each CPT row those counts normalised.  It starts from the nodes'
 *   CPTs (uniform where a node has none) and stops after the maximum number of iterations, or
 *   once the objective changes by no more than the tolerance times its size.  The objective is
 *   the log-likelihood of the cases plus, for each cell, its prior count times the log of its
 *   probability (the log of the prior up to a constant); it never falls from one iteration to the
 *   next.  Each iteration's objective is reported to the progress watcher ("EM iteration K: log
 *   likelihood X").  Cases impossible in the net are skipped (warning 3388).  At the end each
 *   learnt node's CPT and experience hold its expected counts plus prior, as counting would from
 *   complete cases.  The cases are shared among the learner's threads, each with its own
 *   compiled copy of the net; the counts are summed in an order that does not depend on the
 *   number of threads, so the result is the same for any number.
 * - GRADIENT_ASCENT_LEARNING: not available in this version (3386 when learning).
 * Learning leaves the net's findings and compiled form as they were; its tables change as for
 * ReviseCPTsByCaseFile_bn. */
typedef struct learner_bn learner_bn;
typedef enum { COUNTING_LEARNING = 1, EM_LEARNING = 3, GRADIENT_ASCENT_LEARNING = 4 } learn_method_bn;

/* A learner of `env` using `method` (5702 for another), with at most 1000 iterations, a tolerance
 * of 1e-5 and one thread.  `options` must be NULL or "" (5707).  NULL on failure. */
learner_bn* NewLearner_bn(learn_method_bn method, const char* options, environ_vq* env);

/* Sets the most iterations EM makes (1 or more; -1 only queries; 5703).  Returns the previous
 * value, or -1 on failure. */
int SetLearnerMaxIters_bn(learner_bn* learner, int max_iters);

/* Sets the relative change of the objective at which EM stops (above 0; -1 only queries; 5704).
 * Returns the previous value, or -1 on failure. */
double SetLearnerMaxTol_bn(learner_bn* learner, double log_likelihood_tol);

/* Sets the number of threads EM shares the cases among (1 to 256; -1 only queries; 5705).
 * Returns the previous value, or -1 on failure. */
int SetLearnerThreads_bn(learner_bn* learner, int threads);

/* Learns the CPTs of `nodes` (nature and disconnected nodes of one net; others are skipped) from
 * every case of `cases`, each case weighted by `degree` (above 0, 5706) times its file's degree
 * and its NumCases.  All or nothing: on a failure every table stays as it was.  Errors: those of
 * ReviseCPTsByCaseFile_bn, 3387 (no cases), 3389 (halted), 2115 (a file of the caseset was
 * deleted), and those of compiling the net. */
void LearnCPTs_bn(learner_bn* learner, const nodelist_bn* nodes, const caseset_cs* cases, double degree);

/* The number of EM iterations of the learner's last run (1 for counting), or -1 on failure. */
int GetLearnerIterations_bn(const learner_bn* learner);

/* The objective at iteration `iteration` (0 for the first) of the last EM run, or UNDEF_DBL when
 * there is no such iteration. */
double GetLearnerLogLikelihood_bn(const learner_bn* learner, int iteration);

/* Frees the learner; its handle becomes invalid. */
void DeleteLearner_bn(learner_bn* learner);

/* The net tester scores how well a net predicts its test nodes.  For each case, the test nodes and
 * the unobserved nodes are hidden and every other value of the case is entered as a finding (in a
 * working copy: the net's own findings stay as they were); each test node whose value the case
 * gives is then scored by its beliefs b and actual state a:
 *   error rate: the weight of cases whose most probable state (the lowest of equal ones) is not a,
 *     over the weight of the cases scored;
 *   logarithmic loss: the mean of -ln b[a] (b[a] taken as at least 1e-300);
 *   quadratic (Brier) loss: the mean of 1 - 2 b[a] + the sum of b[i]^2;
 *   confusion matrix: the weight of the cases with actual state a and most probable state p.
 * Each case weighs its NumCases times its file's degree; cases impossible in the net are not
 * scored.  The scores add up over every caseset tested. */
typedef struct tester_bn tester_bn;

/* A tester of the nodes `test_nodes`, hiding also `unobsv_nodes` (may be NULL), all of one net
 * (5708).  `tests` must be -1 (reserved).  NULL on failure. */
tester_bn* NewNetTester_bn(const nodelist_bn* test_nodes, const nodelist_bn* unobsv_nodes, int tests);

/* Scores the net on every case of `cases` (the net is compiled in the working copies as needed;
 * its tables are used as they stand now).  Errors: 3631 (a test node was deleted), 3391 (halted),
 * those of case files, and those of compiling. */
void TestWithCaseset_bn(tester_bn* test, caseset_cs* cases);

/* The scores of test node `node` (5709 when it is not one), or -1 on failure; UNDEF_DBL when no
 * case gave its value. */
double GetTestErrorRate_bn(tester_bn* test, node_bn* node);
double GetTestLogLoss_bn(tester_bn* test, node_bn* node);
double GetTestQuadraticLoss_bn(tester_bn* test, node_bn* node);

/* The weight of cases in which test node `node` was in state `actual` and its most probable
 * state was `predicted` (5710 for a state out of range); -1 on failure. */
double GetTestConfusion_bn(tester_bn* test, node_bn* node, state_bn predicted, state_bn actual);

/* Sets the number of threads the tester shares the cases among (1 to 256; -1 only queries;
 * 5705).  Returns the previous value, or -1 on failure. */
int SetNetTesterThreads_bn(tester_bn* test, int threads);

/* Frees the tester; its handle becomes invalid. */
void DeleteNetTester_bn(tester_bn* test);

/* ---- Undo and redo of net edits ----
 * Each net keeps its own history of edits: adding, deleting and copying nodes, links, states,
 * kinds, names and texts, node sets, the elimination order, node tables (learning into several
 * nodes is one edit), and findings.  Each record keeps only what its edit changes (a CPT row, a
 * node's tables, the links of the nodes a link joins), never a copy of the whole net.  A new net
 * keeps no history (undo is off) until SetNetNumUndos_bn gives it a limit.  Undoing and redoing
 * record nothing themselves; a new edit after an undo empties the redo history.  Every edit can
 * be recorded, so no edit ever needs to discard the history. */

/* Sets the most edits kept (`count_limit`) and the most bytes their records may take
 * (`memory_limit`, a whole number); -1 keeps a limit as it is.  A zero limit does not bind while
 * the other is non-zero; both zero turns undo off and discards the history.  Lowering a limit
 * drops the oldest records at once.  `options` must be NULL or "".  Errors: 5250 (count below
 * -1), 5251 (memory negative, other than -1), 5252 (options), 3595 (both kept at zero: undo
 * can't be turned on); a refusal leaves the limits and history as they were. */
void SetNetNumUndos_bn(net_bn* net, int count_limit, double memory_limit, const char* options);

/* Undoes the net's last edit; FALSE when there is none to undo.  `to_when` must be -1 (5253).
 * 3596 when a record no longer fits the net (the history is then discarded). */
bool_vq UndoNetLastOper_vq(net_bn* net, double to_when);

/* Redoes the edit undone last; FALSE when there is none.  `to_when` must be -1 (5253). */
bool_vq RedoNetOper_vq(net_bn* net, double to_when);

/* ---- Questions beyond one node's beliefs ----
 * Exact answers about several nodes at once, questions about the graph, and interventions.  The
 * queries work on the net as it is, compiled or not: only the nodes a query needs take part
 * (barren nodes and nodes d-separated from the query given the findings are pruned), and the rest
 * is variable elimination in a greedy smallest-table-first order; a compiled net whose cliques
 * hold all the query nodes in one is answered from that clique after one propagation.  Nets with
 * decision nodes are refused (5901), as are utility and constant query nodes and nodes without
 * states (5902), calibration findings (5903), a node listed twice (5904), findings that cannot
 * hold together (3045), and a query that would need a table of more than 50,000,000 entries
 * (5900). */

/* The joint beliefs of the listed nodes given the findings: one entry per combination of their
 * states, the last node's state varying fastest, summing to 1.  Returns the number of entries (the
 * product of the nodes' state counts; 1 for an empty list) and writes them into `beliefs` when it
 * is not NULL and `num_entries` is at least that many.  -1 on failure. */
int GetJointBeliefs_bn(const nodelist_bn* nodes, double* beliefs, int num_entries);

/* The most probable joint state of the listed nodes given the findings, the other nodes summed
 * out (with every node listed, the most probable configuration of the net), written into
 * `config` (one state per list entry).  Returns its probability given the findings; -1 on failure. */
double MostProbableJointConfig_bn(const nodelist_bn* nodes, state_bn* config);

/* Whether every node of `x` is d-separated from every node of `y` given the nodes of `given`
 * (NULL for none), from the links alone.  A node given is separated from everything; a node in
 * both x and y is not separated from itself. */
bool_vq IsDSeparated_bn(const nodelist_bn* x, const nodelist_bn* y, const nodelist_bn* given);

/* A new list (the caller's, to delete) of the node's Markov blanket: its parents, its children
 * and its children's other parents, in the net's order.  NULL on failure. */
nodelist_bn* GetMarkovBlanket_bn(const node_bn* node);

/* A new list (the caller's) of the nodes whose tables or findings the beliefs of the listed nodes
 * need, given the findings now entered: the others are barren or d-separated from them.  In the
 * net's order.  NULL on failure. */
nodelist_bn* GetRelevantNodes_bn(const nodelist_bn* nodes);

/* Intervenes on the node, setting it to `state` from outside the model (do(node = state)): its
 * links in are removed and its table becomes the certainty of `state`, so its causes no longer
 * explain it and its effects follow it.  One edit, undone as one.  Refused (5905) for decision,
 * utility and constant nodes and nodes without states. */
void InterveneNode_bn(node_bn* node, state_bn state);
/* ---- Decision nets ----
 * A net with decision and utility nodes is solved at the first belief update after it is compiled
 * and after its findings or tables change (any belief read, or the calls below, brings that
 * about).  Solving finds the optimal policy of every decision: for each configuration of what the
 * decision knows when it is made, the option of greatest expected utility, the later decisions
 * following their optimal policies and the utilities of all utility nodes added.  The method is
 * exact: single policy updating, from the last decision back to the first, over potentials of
 * probabilities and expected utilities summed by variable elimination; with "no forgetting" (the
 * default) a decision also knows what every earlier decision knew and chose, and one backward pass
 * gives the optimal policies.  The findings entered are taken as known to every decision; a
 * decision with an action (EnterAction_bn, EnterActionValue_bn, EnterActionRandomized_bn) or a
 * finding follows it and is not optimised.  Options of equal expected utility go to the lowest
 * numbered.  A finding at a node a decision knows leaves its policy as it is (every row keeps the
 * choice it has without that finding); findings at nodes it does not know change it.
 *
 * Each decision's policy is written into its function table, over its own parents (read it with
 * GetNodeFuncState_bn; the node is then in the node set ":DecisionSolved").  When what a decision
 * remembers under no forgetting changes its best option beyond what its own parents tell, the
 * table holds the option best summed over the remembered configurations.  GetNodeBeliefs_bn of any
 * node of a solved net gives its marginal when every decision follows its policy, given the
 * findings.
 *
 * Compiling refuses a net whose decisions could never be solved, naming the node, and leaves it
 * uncompiled: 5800 (a decision in a directed cycle through its information links), 5802 (a
 * utility node with children), 5803 (a decision with no states).  A net with two decisions with
 * no directed path between them compiles, but solving it (so every belief read and the calls
 * below) is refused with 5801: the decisions must lie on one directed path.  Solving records the
 * notice 5807 when a utility table has undefined entries (taken as 0). */

/* Sets whether a decision knows what earlier decisions knew and chose (1, the default) or only
 * its own parents (0); -1 only asks.  Returns the setting before, -1 on failure (5806 for another
 * value).  A change makes the net's beliefs and policies stale.  Without no forgetting, policy
 * updates repeat until none changes, which is optimal when each decision observes what it needs. */
int SetNetNoForgetting_bn(net_bn* net, int no_forgetting);

/* The expected utility of each option of decision node `node` (one entry per state), given the
 * findings, the decision taking that option and every other decision following its policy;
 * UNDEF_DBL for an option the findings rule out.  The array belongs to the net and is valid until
 * its findings, tables or structure next change.  NULL on failure: 5804 (not a decision), 3044
 * (the net is not compiled), 3045 (findings inconsistent), and the errors of updating. */
const double* GetNodeExpectedUtils_bn(node_bn* node);

/* The maximum expected utility of the net given the findings, every decision following its
 * policy: the sum of the utility nodes' expected values.  UNDEF_DBL on failure: 5805 (no utility
 * node), 3044, 3045, and the errors of updating. */
double GetNetExpectedUtility_bn(net_bn* net);
/* ===================================================================== sampling and approximate beliefs */
/* Drawing cases from a net, and beliefs found without compiling, for nets whose junction tree
 * would not fit in memory.  Both read the node tables and findings directly (parents first; a
 * missing or undefined table row counts as uniform, as does a decision node) and leave the net,
 * its findings and its compiled state as they were.  A net with a directed cycle is refused (3051). */

/* Replaces the contents of `stream` with `num_cases` cases drawn from the net, as a case file: a
 * header line of the names of the nodes with states (utility nodes left out) in net order, then
 * one line per case, in the environment's delimiter and value form, lines ended by "\r\n".  When
 * the net has findings, nodes with a state finding keep that state, other nodes are drawn given
 * their parents, and a first column "NumCases" gives each case its likelihood weight (the
 * probability of the findings given the case's parents, times the likelihood findings), so that
 * the weighted cases follow the beliefs given the findings.  The cases are drawn in blocks of 4096,
 * block b from a generator seeded from `seed` and b: the same seed writes the same file whatever
 * the number of `threads` (1 to 64).  `seed` -1 takes one from the net's generator.  A file stream
 * is written a few blocks at a time to its temporary file, which replaces the file once every case
 * is written; a memory stream holds the whole text.  `options` must be NULL
 * or "".  Errors: 5930 (num_cases negative), 5931 (seed below -1), 5932 (threads), 5938
 * (options), and the stream's write errors.  Returns the cases written, -1 on failure. */
long long WriteSampledCases_bn(net_bn* net, stream_vq* stream, long long num_cases, long long seed, int threads,
                               const char* options);

typedef enum {
  LIKELIHOOD_WEIGHTING = 1, /* cases drawn from the tables, findings clamped and weighted */
  IMPORTANCE_SAMPLING = 2,  /* cases drawn from tables biased toward the findings by a few rounds
                               of loopy propagation (evidence pre-propagation) */
  LOOPY_PROPAGATION = 3     /* loopy belief propagation over the node tables */
} approx_method_bn;

/* What an approximate run did. */
typedef struct {
  double samples;              /* sampling: the cases drawn; loopy: the rounds run */
  double effective_samples;    /* sampling: (sum of weights)^2 / (sum of squared weights) */
  double findings_probability; /* sampling: the mean weight; loopy: UNDEF_DBL */
  double max_change;           /* loopy: the largest change of a belief in the last round */
  int converged;               /* loopy: max_change fell below 1e-6; sampling: 1 */
} approx_summary_bn;

/* Approximate beliefs of every node of the net given its findings, without compiling it.  Every
 * node with states, in net order (utility nodes and nodes without states take no entries), writes
 * one belief per state into `beliefs` and beside it, at the same index of `errors`, its estimated
 * error: for sampling, the standard error of the belief (the ratio estimator's, plus one effective
 * case's share 1 / ESS, so that a state never drawn does not claim an error of 0); for loopy
 * propagation, how much the node's beliefs moved in the last round.  `size` is the room in both
 * arrays; with `beliefs` NULL nothing is computed and the number of entries needed is returned.
 * `samples`: the cases to draw (rounds for loopy propagation); 0 takes the default (200000 cases,
 * and 200000 more at a time, up to 2000000, while some belief's standard error is above 0.0025;
 * or 500 rounds), unless `seconds` is above 0, which alone then limits the run; with both, the
 * first reached ends it.  `damping` (0 to below 1) mixes each new loopy message with the one before
 * (also used by the loopy rounds before importance sampling).  `seed` seeds the sampling (-1: from
 * the net's generator); cases are drawn on up to 8 of the machine's cores in seeded blocks of 4096,
 * summed in block order, so the same seed and count give the same beliefs on any machine.  `summary` (may be NULL) receives what the run did.  Errors: 5933
 * (method), 5934 (samples or seconds negative), 5935 (damping), 5936 (size too small), 5931
 * (seed), 3045 (loopy propagation finds the findings inconsistent), 5937 (every case drawn had
 * weight 0).  Returns the number of entries written, -1 on failure. */
int ApproxNetBeliefs_bn(net_bn* net, approx_method_bn method, double samples, double seconds, double damping,
                        long long seed, double* beliefs, double* errors, int size, approx_summary_bn* summary);

/* ===================================================================== foreign net formats */

/* Net file formats, for ReadNetFormat_bn, WriteNetFormat_bn and GuessNetFormat_bn.  DNET and BIF
 * are the formats ReadNet_bn and WriteNet_bn choose by extension; the others:
 *   XMLBIF_FORMAT     XMLBIF 0.3 (.xml, .xbif, .xmlbif), with VARIABLE TYPE "nature", "decision"
 *                     or "utility"; a PROPERTY "position = (x, y)" is the node's position.
 *   HUGIN_NET_FORMAT  the Hugin NET text format (.net): node, decision and utility blocks with
 *                     states, label (the title) and position; potentials with nested data.
 *                     Continuous nodes, classes and joint potentials are refused.
 *   UAI_FORMAT        UAI BAYES files (.uai); MARKOV files are refused (undirected factors give
 *                     no conditional tables).  Nodes are named from the file PATH.names beside a
 *                     file stream (one name per line), else "v0", "v1", ...; states "s0", "s1", ...
 *   DOT_FORMAT        Graphviz DOT (.dot), written only: titles as labels, decisions as boxes,
 *                     utilities as diamonds, chance nodes as ellipses.
 *   DOT_BELIEFS_FORMAT  DOT with each node drawn as a table of its states, beliefs in percent and
 *                     bars of proportional width (the compiled net's beliefs given its findings).
 * Names that are not legal are made legal and unique when read, the text as written kept as the
 * title (node and state names alike). */
#define UNKNOWN_FORMAT 0 /* ReadNetFormat_bn: guess from the first bytes */
#define DNET_FORMAT 1
#define BIF_FORMAT 2
#define XMLBIF_FORMAT 3
#define HUGIN_NET_FORMAT 4
#define UAI_FORMAT 5
#define DOT_FORMAT 6
#define DOT_BELIEFS_FORMAT 7

/* The format of the net in `stream`, told by its first bytes (after a byte order mark, blanks and
 * comments): "<?xml" or "<BIF" XMLBIF; "net {" or "class" Hugin NET; "BAYES" or "MARKOV" UAI;
 * "network" BIF; "bnet" or the DNET first line DNET.  Otherwise by the stream's name's extension
 * (as listed above), otherwise DNET_FORMAT.  A stream whose file cannot be opened is judged by its
 * name.  Returns a *_FORMAT constant, -1 on failure (a NULL or deleted stream). */
int GuessNetFormat_bn(stream_vq* stream);

/* Reads a net from `stream` in `format` (DNET_FORMAT to UAI_FORMAT, or UNKNOWN_FORMAT to guess as
 * GuessNetFormat_bn does), whatever the stream's name says.  `options` as for ReadNet_bn.  Each
 * fault is an error record that ends with where it was found (", on line L char C of file 'P'";
 * for XMLBIF also the element being read); the first ends the read and no net is made.
 * Errors: 2961/2962 (format), 2410 (options), 2900-2950 (the readers' faults), and those of
 * ReadNet_bn for DNET and BIF.  The net belongs to the stream's environment; NULL on failure. */
net_bn* ReadNetFormat_bn(stream_vq* stream, int format, int options);

/* Writes the whole net to `stream` in `format` (DNET_FORMAT to DOT_BELIEFS_FORMAT), replacing what
 * the stream held, whatever its name says.  BIF and UAI cannot hold decision or utility nodes
 * (2955), nodes without states (2956, 2799), and UAI needs every table complete (2960); nothing is
 * written then.  UAI written to a file stream also writes the node names (titles where they map
 * back to the names), one per line, to PATH.names.  DOT_BELIEFS_FORMAT needs a compiled net
 * (2959) and updates its beliefs if they are stale.  Errors also: 2961 (format), the stream's write
 * faults. */
void WriteNetFormat_bn(net_bn* net, stream_vq* stream, int format);

/* Reads a UAI evidence file from `stream` ("N i1 v1 ... iN vN": N observed variables, each its
 * index in the net's node order and its state; the older form that starts with a sample count of
 * 1 is read too) and enters each as a state finding of that node, replacing any finding it had.
 * Everything is checked before anything is entered: a bad count (2948), index (2943), state
 * (2949) or a variable given twice (2950) leaves the findings as they were.  Returns the number of
 * findings entered, -1 on failure. */
int EnterUaiEvidence_bn(net_bn* net, stream_vq* stream);

#ifdef __cplusplus
}
#endif

#endif /* QUORVA_H */
