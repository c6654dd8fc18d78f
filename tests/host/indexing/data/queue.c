/* Copyright of nobody in particular. Licensed under no terms at all. */
#include <stddef.h>

#ifndef QUEUE_DEFAULT_SIZE
/** Slots of a queue whose maker names no number. */
#define QUEUE_DEFAULT_SIZE 64
#endif
#define QUEUE_TRACE
#define QUEUE_MIN(a, b) \
  ((a) < (b) ? (a) : (b))

/* Why a job was turned away. */
enum refusal { QUEUE_FULL, QUEUE_CLOSED };

// A job,
//   and who asked for it.
struct job {
  int id;
  struct owner {
    const char *name;
  } owner;
};

typedef struct {
  struct job *jobs;
  size_t count;  ///< jobs that wait
} queue_t;

typedef unsigned long job_id, *job_id_ref;
typedef int (*compare_fn)(const struct job *, const struct job *);
union word { int number; float fraction; };

static const char *const NAMES[] = {"low", "high"};
const int LIMIT = 10, STEP = 2;
int counter;
static int compare_ids(const struct job *a, const struct job *b);

// Not about the function: an empty line follows.

static int compare_ids(const struct job *a, /* the left one */
                       const struct job *b  // the right one
) {
  struct local { int x; };
  int (*helper)(int) = 0;
  return a->id - b->id;
}

int after; /* not about push */
struct job *queue_push(queue_t *queue, struct job next) { return NULL; }

/*
 * Returns what is called at the end.
 *
 *     indented: yes
 */
void (*at_exit_of(queue_t *queue, int code))(int) {
  return 0;
}

EXPORT unsigned
queue_size(void)
{
  return 0;
}

/* Puts the caller's job to the others. */
SYSCALL_DEFINE3(queue_push, unsigned int, queue, const struct job __user *, next,
		size_t, size)
{
  if (!next) return -1;
  check(size) { return 0; }
}

COMPAT_SYSCALL_DEFINE1(queue_drop, queue_t __user *, queue) { return 0; }

DEFUN ("queue-length", Fqueue_length, Squeue_length, 1, 1, 0,
       doc: /* Return how many jobs wait.  */)
  (Lisp_Object queue)
{
  return make_number(0);
}

TEST(queue, keeps_order)
{
  for_each(job) { check(job); }
}

main()
{
  return 0;
}

#define QUEUE_DECODE(word, count) do { \
  if ((word) > 9) {                    \
    (count) = 2; /* two digits */      \
  } else {                             \
    (count) = 1; /* one                \
                    digit */           \
  }                                    \
} while (0)

int queue_width(int word) {
  int count;
  QUEUE_DECODE(word, count);
  return count;
}

/* Misses a brace for the parser. */
void queue_each(queue_t *queue) {
  switch (queue->state) {
    case '=': start(queue); break;
    default: fail(queue, QUOTED("low") " or " QUOTED("high") " wanted");
  }
  check(queue, 1);
}

static struct job *
queue_last(queue_t *queue)
{
  int local(void);
  return NULL;
}
