#ifndef RPC_ROWS_H
#define RPC_ROWS_H

/*
 * Forms of a row in a program's table of procedures. Interface definition, daemon and the operator's tool are
 * all made from the one table:
 *
 *     CALL0(number, name, result, shape, operation)                   no argument
 *     CALL1(number, name, type, WORD, result, shape, operation)       one argument
 *     CALLN(number, name, (type WORD, ...), result, shape, operation) up to six, which travel as one record
 *
 * Names stand without their "rpc_". Types are those of the interface definition: an argument's type is one
 * word (u_int, not unsigned int), and the result of a procedure that answers nothing is void. A WORD tells
 * people what the argument is; its "_" reads as "-". The shape says what the service function does around the
 * operation that it lands in; both belong to the program. Whoever includes a table defines
 *
 *     PROCEDURE(number, name, argument filter, (type WORD, ...), result, shape, operation)
 *
 * Procedure 0 has no row: the dispatcher answers it for every program. rpcgen reads this file too, and no
 * comments but of this kind.
 */

#define CALL0(number, name, result, shape, operation)                                                        \
    PROCEDURE(number, name, xdr_void, (void), result, shape, operation)
#define CALL1(number, name, type, word, result, shape, operation)                                            \
    PROCEDURE(number, name, xdr_##type, (type word), result, shape, operation)
#define CALLN(number, name, arguments, result, shape, operation)                                             \
    PROCEDURE(number, name, xdr_rpc_##name##_1_argument, arguments, result, shape, operation)

#endif
